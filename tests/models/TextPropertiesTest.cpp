#include "FileSystemManagement.h"
#include "RandomRuns.h"
#include "StringManagement.h"
#include "TemporaryFolder.h"

#include <algorithm>
#include <cwchar>
#include <string>
#include <vector>

// Laws of the text and path functions, over random texts.

namespace {

/// A text of few different characters, so that equal texts are frequent.
rc::Gen<std::string> someText() {
    return rc::gen::container<std::string>(rc::gen::elementOf(std::string("aAbB.,; /\xC4\xE4")));
}

RC_GTEST_PROP(StringLawsTest, LowerCaseIsOneOfTheSameTexts, ()) {
    const std::string text = *someText();
    const std::string lower = StringManagement::toLower(text);
    RC_ASSERT(lower.size() == text.size());
    RC_ASSERT(StringManagement::toLower(lower) == lower);
    RC_ASSERT(StringManagement::compareNoCase(text, lower));
}

RC_GTEST_PROP(StringLawsTest, ComparingIsTheSameBothWaysAndAsLowerCase, ()) {
    const std::string one = *someText();
    const std::string other = *someText();
    const bool isEqual = StringManagement::compareNoCase(one, other);
    RC_ASSERT(StringManagement::compareNoCase(other, one) == isEqual);
    RC_ASSERT((StringManagement::toLower(one) == StringManagement::toLower(other)) == isEqual);
}

RC_GTEST_PROP(StringLawsTest, TokensAreWhatStandsBetweenDelimiters, ()) {
    const std::string text = *someText();
    const std::string delimiters = ".,;";
    std::string scratch = text;
    const std::vector<std::string> tokens = StringManagement::split(scratch.data(), delimiters.c_str());
    std::string withoutDelimiters = text;
    withoutDelimiters.erase(std::remove_if(withoutDelimiters.begin(), withoutDelimiters.end(),
                                           [&](char c) { return delimiters.find(c) != std::string::npos; }),
                            withoutDelimiters.end());
    RC_ASSERT(joined(tokens, "") == withoutDelimiters);
    for (const std::string& token : tokens) {
        RC_ASSERT(!token.empty());
        RC_ASSERT(token.find_first_of(delimiters) == std::string::npos);
    }
}

/// A text of any code points except 0, which ends a text.
rc::Gen<std::wstring> someWideText() {
    const auto plain = rc::gen::inRange<std::uint32_t>(1, 0x80);
    const auto below = rc::gen::inRange<std::uint32_t>(1, 0xD800);
    const auto above = rc::gen::inRange<std::uint32_t>(0xE000, 0x110000);
    const auto point = rc::gen::map(rc::gen::oneOf(plain, below, above),
                                    [](std::uint32_t code) { return static_cast<wchar_t>(code); });
    return rc::gen::container<std::wstring>(point);
}

RC_GTEST_PROP(EncodingLawsTest, EveryTextSurvivesUtf8, ()) {
    using namespace StringManagement;
    const std::wstring text = *someWideText();
    RC_ASSERT(stringToWString(wStringToString(text, ENCODING_UTF_8), ENCODING_UTF_8) == text);
}

RC_GTEST_PROP(EncodingLawsTest, OtherEncodingsGiveTheWholeTextOrNone, ()) {
    using namespace StringManagement;
    const std::wstring text = *someWideText();
    const wchar_t largest = text.empty() ? 0 : *std::max_element(text.begin(), text.end());
    const std::wstring latin =
        stringToWString(wStringToString(text, ENCODING_ISO_LATIN_1), ENCODING_ISO_LATIN_1);
    const std::wstring ascii = stringToWString(wStringToString(text, ENCODING_ASCII), ENCODING_ASCII);
    RC_ASSERT(latin == (largest < 0x100 ? text : std::wstring()));
    RC_ASSERT(ascii == (largest < 0x80 ? text : std::wstring()));
}

RC_GTEST_PROP(PathLawsTest, WhatIsMadeAndCopiedIsThereUntilItIsRemoved, ()) {
    using namespace FileSystemManagement;
    const auto name =
        rc::gen::nonEmpty(rc::gen::container<std::string>(rc::gen::elementOf(std::string("ab %\xC3"))));
    const auto names =
        rc::gen::resize(5, rc::gen::nonEmpty(rc::gen::container<std::vector<std::string>>(name)));
    const std::string path = joined(*names, "/");
    const TemporaryFolder folder;
    const std::string tree = folder / "tree/";
    const std::string copy = folder / "copy/";

    RC_ASSERT(createFolder(tree + path));
    RC_ASSERT(createFolder(tree + path)); // idempotent
    RC_ASSERT(createFile(tree + path, "file"));
    RC_ASSERT(existFolder(tree + path));
    RC_ASSERT(copyFolder(folder / "tree", folder / "copy", "*"));
    RC_ASSERT(existFile(copy + path + "/file"));

    RC_ASSERT(!DeleteEmptyFolder(tree + path));
    RC_ASSERT(!deleteFile(tree + path + "/file")); // DELIBERATE: false means that the file was deleted
    RC_ASSERT(DeleteEmptyFolder(tree + path));
    RC_ASSERT(!existFile(tree + path));
    RC_ASSERT(deleteFolder(folder / "copy", true));
    RC_ASSERT(!existFile(folder / "copy"));
}

} // namespace

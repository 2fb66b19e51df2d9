#include "Page.h"

#include "TraceFiles.h"

#include <archive.h>
#include <archive_entry.h>
#include <gmock/gmock.h>

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

/// A small viewer of the expected form.
class PageTest : public ::testing::Test {
protected:
    PageTest() {
        write("index.html",
              "<!DOCTYPE html>\n<head>\n<meta charset=\"UTF-8\">\n<link rel=\"stylesheet\" href=\"a.css\">\n"
              "<link rel=\"icon\" type=\"image/png\" href=\"icon.png\">\n<link rel=\"icon\" "
              "href=\"icon.ico\">\n"
              "</head>\n<body>\n<script src=\"a.js\"></script>\n</body>\n");
        write("a.css", "b{src:url(\"./a.woff2\") format(\"woff2\")}");
        write("a.woff2", "font");
        write("a.js", "draw('</script>')\n");
        write("LICENSE", "a licence -- for all\n");
        write("source-code-pro.LICENSE.md", "the font's licence\n");
    }
    void write(const std::string& name, const std::string& text) { m_files.write(name, text, 0); }
    std::string pageOf(const std::string& profile) {
        std::string page;
        Zevo::Page(m_files.path())
            .write([&](std::string_view text) { page += text; },
                   [&](const Zevo::Sink& sink) {
                       // In pieces, as an exporter writes a profile.
                       for (std::size_t i = 0; i < profile.size(); i += 1000)
                           sink(std::string_view(profile).substr(i, 1000));
                   });
        return page;
    }
    std::string complaint() {
        try {
            Zevo::Page page(m_files.path());
            return "none";
        } catch (const std::runtime_error& problem) {
            return problem.what();
        }
    }
    TraceFiles m_files;
};

std::string fromBase64(const std::string& text) {
    static const std::string DIGITS = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    unsigned block = 0, bits = 0;
    for (const char c : text) {
        const std::size_t digit = DIGITS.find(c);
        if (digit == std::string::npos)
            break;
        block = block << 6U | static_cast<unsigned>(digit);
        if ((bits += 6) >= 8)
            bytes += static_cast<char>(block >> (bits -= 8) & 255U);
    }
    return bytes;
}

/// The profile that the page passes to the viewer.
std::string profileIn(const std::string& page) {
    const std::string begin = "loadFileFromBase64(\"trace.speedscope.json.gz\", \"";
    const std::size_t at = page.find(begin) + begin.size();
    const std::string packed = fromBase64(page.substr(at, page.find('"', at) - at));
    archive* const reader = archive_read_new();
    archive_entry* entry = nullptr;
    archive_read_support_filter_gzip(reader);
    archive_read_support_format_raw(reader);
    std::string profile;
    char part[4096];
    if (archive_read_open_memory(reader, packed.data(), packed.size()) == ARCHIVE_OK &&
        archive_read_next_header(reader, &entry) == ARCHIVE_OK)
        for (la_ssize_t length = 0; (length = archive_read_data(reader, part, sizeof part)) > 0;)
            profile.append(part, static_cast<std::size_t>(length));
    archive_read_free(reader);
    return profile;
}

} // namespace

TEST_F(PageTest, HoldsTheViewerAndNamesNoOtherFile) {
    const std::string page = pageOf("{}");
    EXPECT_THAT(page,
                AllOf(StartsWith("<!DOCTYPE html>"), HasSubstr("url(\"data:font/woff2;base64,Zm9udA==\")"),
                      HasSubstr("draw('<\\/script>')")));
    EXPECT_THAT(page, AllOf(Not(HasSubstr("src=\"")), Not(HasSubstr("href=")), Not(HasSubstr("./"))));
}

TEST_F(PageTest, ForbidsTheBrowserToFetchAnything) {
    EXPECT_THAT(pageOf("{}"), HasSubstr("\"Content-Security-Policy\" content=\"default-src 'none'; "));
}

TEST_F(PageTest, CarriesTheLicences) {
    EXPECT_THAT(pageOf("{}"), HasSubstr("<!-- The viewer, and the font in it:\na licence - - for all\n\n"
                                        "the font's licence\n-->"));
}

TEST_F(PageTest, HandsTheProfileOverPacked) {
    for (const std::size_t size : {0, 1, 2, 3, 100'000}) {
        std::string profile;
        for (std::size_t i = 0; i < size; ++i)
            profile += static_cast<char>('a' + i * i * 31 % 251 % 26);
        EXPECT_EQ(profileIn(pageOf(profile)), profile) << size;
    }
}

TEST_F(PageTest, OfTheSameTraceIsTheSamePage) {
    EXPECT_EQ(pageOf("{}"), pageOf("{}"));
    const std::string packed = pageOf("{}");
    const std::string begin = ".gz\", \"";
    EXPECT_EQ(fromBase64(packed.substr(packed.find(begin) + begin.size())).substr(4, 4), std::string(4, '\0'))
        << "no time of packing";
}

TEST_F(PageTest, WhatASinkThrowsArrives) {
    const Zevo::Page page(m_files.path());
    EXPECT_THROW(page.write([](std::string_view) { throw std::runtime_error("the disk is full"); },
                            [](const Zevo::Sink& sink) { sink("{}"); }),
                 std::runtime_error);
}

TEST_F(PageTest, WithoutTheViewerItIsToldHowToGetIt) {
    for (const char* const name :
         {"index.html", "a.css", "a.js", "a.woff2", "LICENSE", "source-code-pro.LICENSE.md"}) {
        const std::string path = m_files / name;
        ASSERT_EQ(std::rename(path.c_str(), (path + ".away").c_str()), 0);
        EXPECT_THAT(complaint(), AllOf(StartsWith(path + " cannot be read: "), HasSubstr("./zevo test")));
        ASSERT_EQ(std::rename((path + ".away").c_str(), path.c_str()), 0);
    }
    EXPECT_EQ(complaint(), "none");
}

TEST_F(PageTest, AViewerOfAnotherFormIsRefused) {
    write("index.html", "<script type=\"module\" src=\"a.js\"></script>");
    EXPECT_EQ(complaint(), m_files.path() + "/index.html is not one of the viewer's that this program knows: "
                                            "<link rel=\"stylesheet\" href=\"...\"> is expected in it");
}

#include "KFConfigurationReaderFileNotFoundException.h"
#include "KFDictionaryFileException.h"
#include "KFDictionaryParsingException.h"

#include <climits>
#include <gtest/gtest.h>
#include <memory>

TEST(KFException, KeepsItsThreeValues) {
    const KFException exception("X", "F", 7);
    EXPECT_STREQ(exception.what(), "X");
    EXPECT_STREQ(exception.getFileName(), "F");
    EXPECT_EQ(exception.getLine(), 7);
    EXPECT_EQ(exception.toString(), "Exception : X on file F line 7");
}

TEST(KFException, KeepsCopiesOfTheTexts) {
    std::string message = "message";
    std::string file = "file";
    const KFException exception(message.c_str(), file.c_str(), -1);
    message.assign(message.size(), '?');
    file.assign(file.size(), '?');
    EXPECT_EQ(exception.toString(), "Exception : message on file file line -1");
}

TEST(KFException, TakesNullForAnEmptyText) {
    const KFException exception(nullptr, nullptr, 0);
    EXPECT_STREQ(exception.what(), "");
    EXPECT_STREQ(exception.getFileName(), "");
    EXPECT_EQ(exception.toString(), "Exception :  on file  line 0");
}

TEST(KFException, PrintsAnyLine) {
    EXPECT_EQ(KFException("X", "F", INT_MIN).toString(), "Exception : X on file F line -2147483648");
    EXPECT_EQ(KFException("X", "F", INT_MAX).toString(), "Exception : X on file F line 2147483647");
}

TEST(KFException, IsAStandardException) {
    const std::unique_ptr<const std::exception> exception = std::make_unique<KFException>("X", "F", 7);
    EXPECT_STREQ(exception->what(), "X");
}

TEST(KFConfigurationReaderException, HasWordsOfItsOwn) {
    EXPECT_EQ(KFConfigurationReaderException("X", "F", 7).toString(),
              "Configuration File Manager Exception : X on file F at line 7");
}

TEST(KFConfigurationReaderFileNotFoundException, SuppliesItsMessage) {
    const KFConfigurationReaderFileNotFoundException exception("Launcher.cfg", 12);
    EXPECT_STREQ(exception.what(), "CONFIGURATIONFILEMANAGER_FILE_NOT_FOUND");
    EXPECT_EQ(exception.toString(),
              "Configuration File Manager Exception : "
              "CONFIGURATIONFILEMANAGER_FILE_NOT_FOUND on file Launcher.cfg at line 12");
}

TEST(KFDictionaryException, TheWholeBranchPrintsLikeTheBase) {
    EXPECT_EQ(KFDictionaryException("X", "F", 7).toString(), "Exception : X on file F line 7");
    EXPECT_EQ(KFDictionaryFileException("X", "F", 7).toString(), "Exception : X on file F line 7");
    EXPECT_EQ(KFDictionaryParsingException("X", "F", 7).toString(), "Exception : X on file F line 7");
}

template <typename Thrown, typename Caught>
static std::string caughtAs(const Thrown& thrown) {
    try {
        throw thrown;
    } catch (const Caught& exception) {
        return exception.toString();
    }
}

TEST(KFExceptionFamily, IsCaughtByItsBasesAndKeepsItsOwnWords) {
    const std::string notFound = KFConfigurationReaderFileNotFoundException("F", 7).toString();
    EXPECT_EQ((caughtAs<KFConfigurationReaderFileNotFoundException, KFException>({"F", 7})), notFound);
    EXPECT_EQ(
        (caughtAs<KFConfigurationReaderFileNotFoundException, KFConfigurationReaderException>({"F", 7})),
        notFound);
    const std::string plain = "Exception : X on file F line 7";
    EXPECT_EQ((caughtAs<KFDictionaryFileException, KFDictionaryException>({"X", "F", 7})), plain);
    EXPECT_EQ((caughtAs<KFDictionaryParsingException, KFDictionaryException>({"X", "F", 7})), plain);
    EXPECT_EQ((caughtAs<KFDictionaryFileException, KFException>({"X", "F", 7})), plain);
}

TEST(KFExceptionFamily, TheBranchesAreSeparate) {
    static_assert(!std::is_base_of<KFDictionaryException, KFConfigurationReaderException>::value, "");
    static_assert(!std::is_base_of<KFDictionaryFileException, KFDictionaryParsingException>::value, "");
    static_assert(std::is_base_of<KFException, KFDictionaryException>::value, "");
    static_assert(sizeof(KFConfigurationReaderFileNotFoundException) == sizeof(KFException),
                  "no fields added");
    static_assert(sizeof(KFDictionaryParsingException) == sizeof(KFException), "no fields added");
    EXPECT_THROW(throw KFDictionaryFileException("X", "F", 7), KFDictionaryFileException);
}

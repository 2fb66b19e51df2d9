#include "BasicItem.h"
#include "Dictionary.h"
#include "FilesBeside.h"
#include "IntBasicItem.h"
#include "KFDictionaryFileException.h"
#include "KFDictionaryParsingException.h"
#include "NumberAt.h"
#include "OtherProcess.h"
#include "Substitute.h"
#include "TemporaryFolder.h"
#include "TextFile.h"
#include "TraceCapture.h"
#include "detail/DictionaryReadingObserver.h"
#include "detail/LockWait.h"

#include <climits>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace kf::detail;

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

static int flushError = 0; // the errno with which fsync fails

SUBSTITUTE(int, fsync, (int descriptor)) {
    if (flushError != 0) {
        errno = flushError;
        return -1;
    }
    return ORIGINAL(fsync)(descriptor);
}

static int readsBeforeError = -1; // how many reads succeed before one fails; -1: all do
static int interruptions = 0;     // how many reads a signal interrupts first

SUBSTITUTE(ssize_t, read, (int descriptor, void* to, size_t size)) {
    if (interruptions > 0 || readsBeforeError == 0) {
        errno = interruptions > 0 ? EINTR : EIO;
        interruptions -= interruptions > 0 ? 1 : 0;
        return -1;
    }
    readsBeforeError -= readsBeforeError > 0 ? 1 : 0;
    return ORIGINAL(read)(descriptor, to, size);
}

static const char HEADER[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n";
static const char SOURCE[] = "product/Infrastructure/ProgrammingServices/Dictionary/src/Dictionary";

/// Reads a body; returns what is left in the stream.
static std::string unMarshall(Dictionary& dictionary, const std::string& text) {
    std::stringstream in(text);
    dictionary.unMarshall(in);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

static void load(Dictionary& dictionary, const std::string& content) {
    const TemporaryFolder folder;
    writeFile(folder / "list", content);
    dictionary.loadFromFile(folder / "list");
}

static std::string saved(Dictionary& dictionary) {
    const TemporaryFolder folder;
    dictionary.saveToFile(folder / "list");
    return readFile(folder / "list");
}

static Dictionary example() {
    Dictionary dictionary;
    dictionary.addValue("a", "x");
    dictionary.addValue("n", 3);
    dictionary.addValue("d.b", "y");
    return dictionary;
}

static const char EXAMPLE_TEXT[] = "<dict>\n"
                                   "\t<key>a</key>\n"
                                   "\t<string>x</string>\n"
                                   "\t<key>d</key>\n"
                                   "\t<dict>\n"
                                   "\t\t<key>b</key>\n"
                                   "\t\t<string>y</string>\n"
                                   "\t</dict>\n"
                                   "\t<key>n</key>\n"
                                   "<int>3</int>\n"
                                   "</dict>\n";

// ---- Writing

TEST(DictionarySave, WritesTheseBytes) {
    Dictionary dictionary = example();
    EXPECT_EQ(saved(dictionary), std::string(HEADER) + EXAMPLE_TEXT + "</plist>");
}

TEST(DictionarySave, AnEmptyDictionaryIsFiveLinesWithoutLineFeedAtTheEnd) {
    Dictionary dictionary;
    EXPECT_EQ(saved(dictionary), std::string(HEADER) + "<dict>\n</dict>\n</plist>");
}

TEST(DictionarySave, ReplacesAFile) {
    const TemporaryFolder folder;
    writeFile(folder / "list", std::string(10000, 'x'));
    example().saveToFile(folder / "list");
    EXPECT_EQ(readFile(folder / "list"), std::string(HEADER) + EXAMPLE_TEXT + "</plist>");
}

TEST(DictionarySave, ReplacesTheFileAsAWholeForWhoReadsItMeanwhile) {
    const TemporaryFolder folder;
    writeFile(folder / "list", "before");
    ASSERT_EQ(chmod((folder / "list").c_str(), 0640), 0);
    std::ifstream reader(folder / "list");
    ASSERT_TRUE(reader);
    example().saveToFile(folder / "list");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), std::istreambuf_iterator<char>()),
              "before");
    struct stat status = {};
    ASSERT_EQ(stat((folder / "list").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    EXPECT_THAT(filesBeside(folder / "list"), IsEmpty());
}

TEST(DictionarySave, WritesToAPipeThroughADescriptor) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    example().saveToFile("/dev/fd/" + std::to_string(ends[1]));
    close(ends[1]);
    char text[4096];
    const ssize_t length = read(ends[0], text, sizeof text);
    close(ends[0]);
    EXPECT_EQ(std::string(HEADER) + EXAMPLE_TEXT + "</plist>",
              std::string(text, static_cast<std::size_t>(std::max<ssize_t>(length, 0))));
}

TEST(DictionarySave, TracesOnceWhatTheFileSystemLacks) {
    const TemporaryFolder folder;
    EXPECT_TRUE(inAnotherProcess([&] { // reported once per process
        flushError = EINVAL;
        TraceCapture trace;
        example().saveToFile(folder / "list");
        const std::string text = trace.text();
        example().saveToFile(folder / "other");
        return text.find("File " + (folder / "list") + " : no flush here") != std::string::npos &&
               trace.text().find("File " + (folder / "other") + " : no") == std::string::npos;
    }));
    EXPECT_EQ(readFile(folder / "other"), std::string(HEADER) + EXAMPLE_TEXT + "</plist>");
}

TEST(DictionarySave, FollowsALink) {
    const TemporaryFolder folder;
    writeFile(folder / "real", "before");
    ASSERT_EQ(symlink("real", (folder / "list").c_str()), 0);
    example().saveToFile(folder / "list");
    EXPECT_EQ(readFile(folder / "real"), std::string(HEADER) + EXAMPLE_TEXT + "</plist>");
}

TEST(DictionarySave, LeavesTheOldFileWholeWhereTheNewOneFindsNoRoom) {
    const TemporaryFolder folder;
    writeFile(folder / "list", "before");
    EXPECT_TRUE(inAnotherProcess([&] {
        signal(SIGXFSZ, SIG_IGN);
        const struct rlimit limit = {4096, 4096}; // of any file of this process
        setrlimit(RLIMIT_FSIZE, &limit);
        Dictionary dictionary;
        dictionary.addValue("a", std::string(100000, 'x').c_str());
        dictionary.saveToFile(folder / "list");
        return true;
    }));
    EXPECT_EQ(readFile(folder / "list"), "before");
}

TEST(DictionaryLoad, DoesNotMeetAFileThatIsBeingWrittenInPlace) {
    const TemporaryFolder folder;
    example().saveToFile(folder / "list");
    const int writer = open((folder / "list").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(writer, LOCK_EX), 0);
    EXPECT_TRUE(inAnotherProcess([&] {
        LockWait::setLongest(std::chrono::seconds(0));
        Dictionary dictionary;
        try {
            dictionary.loadFromFile(folder / "list");
        } catch (const KFDictionaryFileException&) {
            return true;
        }
        return false;
    }));
    close(writer);
    Dictionary dictionary;
    EXPECT_NO_THROW(dictionary.loadFromFile(folder / "list"));
}

// Deliberate: the caller learns nothing.
TEST(DictionarySave, IsSilentWhenItCannotWrite) {
    const TemporaryFolder folder;
    TraceCapture trace;
    Dictionary dictionary = example();
    EXPECT_NO_THROW(dictionary.saveToFile(folder / "missing/list"));
    EXPECT_NO_THROW(dictionary.saveToFile(folder.path()));
    EXPECT_NO_THROW(dictionary.saveToFile(""));
    EXPECT_THAT(trace.text(), Not(HasSubstr(">> [E]")));
    EXPECT_NE(access((folder / "missing").c_str(), F_OK), 0);
}

TEST(DictionarySave, LeavesAFileThatItMayNotWrite) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkdir((folder / "closed").c_str(), 0777), 0);
    writeFile(folder / "closed/list", "before");
    ASSERT_EQ(chmod((folder / "closed/list").c_str(), 0444), 0);
    ASSERT_EQ(chmod((folder / "closed").c_str(), 0555), 0);
    EXPECT_TRUE(asOrdinaryUser(folder / "closed", [] {
        Dictionary dictionary = example();
        dictionary.saveToFile("list");
        return readFile("list") == "before";
    }));
    ASSERT_EQ(chmod((folder / "closed").c_str(), 0755), 0);
}

// The writer looks one child ahead: it must miss none at either end.
TEST(DictionaryMarshall, WritesEveryChildHoweverManyThereAre) {
    Dictionary dictionary;
    std::string body;
    for (char key = 'a'; key <= 'z'; ++key) {
        EXPECT_EQ(dictionary.marshall(""), "<dict>\n" + body + "</dict>\n");
        dictionary.addValue(std::string(1, key), "x");
        body += std::string("\t<key>") + key + "</key>\n\t<string>x</string>\n";
    }
}

TEST(DictionaryMarshall, IndentsAllButIntegers) {
    EXPECT_EQ(example().marshall(""), EXAMPLE_TEXT);
    Dictionary dictionary;
    dictionary.addValue("d.e.n", -5);
    EXPECT_EQ(dictionary.marshall("\t"), "\t<dict>\n"
                                         "\t\t<key>d</key>\n"
                                         "\t\t<dict>\n"
                                         "\t\t\t<key>e</key>\n"
                                         "\t\t\t<dict>\n"
                                         "\t\t\t\t<key>n</key>\n"
                                         "<int>-5</int>\n"
                                         "\t\t\t</dict>\n"
                                         "\t\t</dict>\n"
                                         "\t</dict>\n");
}

TEST(DictionaryMarshall, WritesTheKeyAndNotTheName) {
    Dictionary dictionary;
    BasicItem item("name", "v");
    dictionary.setItem("key", item);
    EXPECT_EQ(dictionary.marshall(""), "<dict>\n\t<key>key</key>\n\t<string>v</string>\n</dict>\n");
}

TEST(DictionaryMarshall, EscapesNothing) {
    Dictionary dictionary;
    dictionary.addValue("<&>", "\"<x>&amp;'");
    EXPECT_EQ(dictionary.marshall(""), "<dict>\n\t<key><&></key>\n\t<string>\"<x>&amp;'</string>\n</dict>\n");
}

TEST(DictionaryMarshall, AsksALeafOfAnotherClassForItsLine) {
    class Upper : public BasicItem {
    public:
        using BasicItem::BasicItem;
        Item* clone() override { return std::make_unique<Upper>(*this).release(); }
        using BasicItem::marshall;
        std::string marshall(const std::string& indent) override {
            return indent + "<string>UPPER</string>\n";
        }
    };
    Dictionary dictionary;
    Upper item("k", "v");
    dictionary.setItem("k", item);
    EXPECT_EQ(dictionary.marshall(""), "<dict>\n\t<key>k</key>\n\t<string>UPPER</string>\n</dict>\n");
}

// ---- Reading a body

TEST(DictionaryUnMarshall, ReadsWhatMarshallWrites) {
    Dictionary dictionary;
    EXPECT_EQ(unMarshall(dictionary, EXAMPLE_TEXT), "");
    EXPECT_TRUE(dictionary.equals(example()));
    EXPECT_EQ(dictionary.getItem("d")->getName(), "d");
    EXPECT_EQ(dictionary.getItem("d.b")->getName(), "b");
}

TEST(DictionaryUnMarshall, LeavesTheStreamBehindItsLastLine) {
    Dictionary dictionary;
    EXPECT_EQ(unMarshall(dictionary, "<dict>\n</dict>\n</plist>"), "</plist>");
    EXPECT_EQ(unMarshall(dictionary, "<dict>\n<key>a</key>\n<string>x</string>\njunk\nmore\n"), "more\n");
    EXPECT_EQ(unMarshall(dictionary, "no dictionary\nmore\n"), "more\n");
}

TEST(DictionaryUnMarshall, ContinuesWhereTheStreamStands) {
    std::stringstream in(std::string("first line\n") + EXAMPLE_TEXT + EXAMPLE_TEXT + "last");
    std::string line;
    std::getline(in, line);
    for (int count = 0; count < 2; ++count) {
        Dictionary dictionary;
        dictionary.unMarshall(in);
        EXPECT_TRUE(dictionary.equals(example()));
    }
    std::getline(in, line);
    EXPECT_EQ(line, "last");
}

TEST(DictionaryUnMarshall, OfAStreamAtItsEndReadsNothing) {
    Dictionary dictionary = example();
    std::stringstream in("one line");
    std::string line;
    std::getline(in, line);
    dictionary.unMarshall(in);
    std::stringstream empty;
    dictionary.unMarshall(empty);
    EXPECT_TRUE(dictionary.equals(example()));
}

TEST(DictionaryUnMarshall, AFirstLineWithoutDictReadsNothing) {
    for (const char* line : {"", "<array>", "<dict", "</dict>", "<plist version=\"1.0\">"}) {
        Dictionary dictionary;
        const std::string body = "<key>a</key>\n<string>x</string>\n</dict>\n";
        EXPECT_EQ(unMarshall(dictionary, line + ("\n" + body)), body) << line;
        EXPECT_EQ(dictionary.getFirstItem(), nullptr) << line;
    }
}

TEST(DictionaryUnMarshall, TagsMayStandAnywhereInTheirLine) {
    Dictionary dictionary;
    unMarshall(dictionary, "junk<dict>junk\n"
                           "   \t junk<key> a </key>junk\n"
                           "      <string>\t x </string> <int>5</int>\n"
                           "<key>n</key>\n"
                           " \t<int>3</int> junk\n");
    EXPECT_STREQ(dictionary.getValue("a"), "x");
    EXPECT_EQ(numberAt(dictionary, "n"), 3);
}

// The tags are tried in this order, whatever else the line contains.
TEST(DictionaryUnMarshall, AValueLineIsAStringElseAnIntegerElseADictionary) {
    Dictionary dictionary;
    unMarshall(dictionary, "<dict>\n"
                           "<key>s</key>\n<int>1</int><string>x</string>\n"
                           "<key>n</key>\n<dict><int>2</int>\n"
                           "</dict>\n");
    // The first "</" of the line precedes the value, so the value is the rest of the line.
    EXPECT_STREQ(dictionary.getValue("s"), "x</string>");
    EXPECT_EQ(numberAt(dictionary, "n"), 2);
}

TEST(DictionaryUnMarshall, EmptyElementsAreAllowed) {
    Dictionary dictionary;
    unMarshall(dictionary, "<dict>\n"
                           "<key></key>\n<string>empty key</string>\n"
                           "<key>s</key>\n<string></string>\n"
                           "<key>n</key>\n<int></int>\n"
                           "<key>d</key>\n<dict>\n</dict>\n"
                           "</dict>\n");
    EXPECT_STREQ(dictionary.getValue(""), "empty key");
    EXPECT_STREQ(dictionary.getValue("s"), "");
    EXPECT_EQ(numberAt(dictionary, "n"), 0);
    ASSERT_NE(dictionary.getItem("d"), nullptr);
    EXPECT_EQ(dictionary.getItem("d")->getAsDictionary()->getFirstItem(), nullptr);
}

TEST(DictionaryUnMarshall, AnUnknownElementIsSkippedWithItsKey) {
    Dictionary dictionary;
    unMarshall(dictionary, "<dict>\n<key>a</key>\n<true/>\n<key>b</key>\n<string>x</string>\n</dict>\n");
    EXPECT_FALSE(dictionary.hasKey("a"));
    EXPECT_STREQ(dictionary.getValue("b"), "x");
}

TEST(DictionaryUnMarshall, TheInnerLinesOfAnUnknownElementEndTheDictionary) {
    Dictionary dictionary;
    const std::string rest =
        unMarshall(dictionary, "<dict>\n<key>a</key>\n<array>\n<string>x</string>\n</array>\n"
                               "<key>b</key>\n<string>x</string>\n</dict>\n");
    EXPECT_EQ(dictionary.getFirstItem(), nullptr);
    EXPECT_EQ(rest, "</array>\n<key>b</key>\n<string>x</string>\n</dict>\n");
}

// Deliberate: </dict> is only one of the lines that have no key.
TEST(DictionaryUnMarshall, AnyLineWithoutAKeyClosesTheDictionary) {
    for (const char* line : {"</dict>", "", "junk", "<string>x</string>", "<Key>a</Key>", "<key >a</key>"}) {
        Dictionary dictionary;
        const std::string rest =
            unMarshall(dictionary, std::string("<dict>\n<key>a</key>\n<string>x</string>\n") + line +
                                       "\n<key>b</key>\n<string>y</string>\n");
        EXPECT_TRUE(dictionary.hasKey("a")) << line;
        EXPECT_FALSE(dictionary.hasKey("b")) << line;
        EXPECT_EQ(rest, "<key>b</key>\n<string>y</string>\n") << line;
    }
}

TEST(DictionaryUnMarshall, ANestedDictionaryConsumesItsOwnClosingLine) {
    Dictionary dictionary;
    unMarshall(dictionary, "<dict>\n"
                           "<key>d</key>\n<dict>\n<key>e</key>\n<dict>\n</dict>\n"
                           "<key>x</key>\n<string>in d</string>\n</dict>\n"
                           "<key>y</key>\n<string>in root</string>\n</dict>\n");
    EXPECT_STREQ(dictionary.getValue("d.x"), "in d");
    EXPECT_STREQ(dictionary.getValue("y"), "in root");
    EXPECT_NE(dictionary.getItem("d.e"), nullptr);
}

TEST(DictionaryUnMarshall, OfDuplicateKeysTheLaterWins) {
    Dictionary dictionary;
    unMarshall(dictionary, "<dict>\n"
                           "<key>a</key>\n<string>first</string>\n"
                           "<key>b</key>\n<dict>\n<key>x</key>\n<int>1</int>\n</dict>\n"
                           "<key>a</key>\n<int>2</int>\n"
                           "<key>b</key>\n<dict>\n<key>y</key>\n<int>1</int>\n</dict>\n"
                           "<key>z</key>\n<int>3</int>\n"
                           "</dict>\n");
    EXPECT_EQ(numberAt(dictionary, "a"), 2);
    EXPECT_EQ(dictionary.getItem("b.x"), nullptr);
    EXPECT_EQ(numberAt(dictionary, "b.y"), 1);
    EXPECT_EQ(numberAt(dictionary, "z"), 3);
}

TEST(DictionaryUnMarshall, KeysNeedNotBeInOrder) {
    Dictionary dictionary;
    unMarshall(dictionary, "<dict>\n<key>c</key>\n<int>1</int>\n<key>a</key>\n<int>2</int>\n<key>b</key>\n"
                           "<int>3</int>\n</dict>\n");
    EXPECT_EQ(dictionary.marshall(""), "<dict>\n\t<key>a</key>\n<int>2</int>\n\t<key>b</key>\n<int>3</int>\n"
                                       "\t<key>c</key>\n<int>1</int>\n</dict>\n");
}

TEST(DictionaryUnMarshall, AKeyWithoutAValueLineIsDropped) {
    Dictionary dictionary;
    unMarshall(dictionary, "<dict>\n<key>a</key>");
    EXPECT_EQ(dictionary.getFirstItem(), nullptr);
}

TEST(DictionaryUnMarshall, TwoKeyLinesInARowDropBoth) {
    Dictionary dictionary;
    const std::string rest =
        unMarshall(dictionary, "<dict>\n<key>a</key>\n<key>b</key>\n<string>x</string>\nrest");
    EXPECT_EQ(dictionary.getFirstItem(), nullptr);
    EXPECT_EQ(rest, "rest");
}

TEST(DictionaryUnMarshall, ReadsALastLineWithoutLineFeed) {
    Dictionary dictionary;
    EXPECT_EQ(unMarshall(dictionary, "<dict>\n<key>a</key>\n<string>x</string>"), "");
    EXPECT_STREQ(dictionary.getValue("a"), "x");
    EXPECT_EQ(unMarshall(dictionary, "<dict>\n<key>d</key>\n<dict>"), "");
    EXPECT_NE(dictionary.getItem("d"), nullptr);
}

TEST(DictionaryUnMarshall, TracesTheKeysAndValuesThatItReads) {
    Dictionary dictionary;
    TraceCapture trace;
    unMarshall(dictionary, "<dict>\n<key>k</key>\n<string>v</string>\n</dict>\n");
    EXPECT_THAT(trace.text(), HasSubstr("Dictionary::unMarshall\n"));
    EXPECT_THAT(trace.text(), HasSubstr("BasicItem::unMarshall\n"));
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] getXmlVal returns 'k'\n"));
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] getXmlVal returns 'v'\n"));
}

static BasicItem& textAt(const Dictionary& dictionary, const std::string& path) {
    return dynamic_cast<BasicItem&>(*dictionary.getItem(path));
}

// A value that was read is in the item's own block of memory; a new one is not, whatever its length.
TEST(DictionaryUnMarshall, AStringThatWasReadTakesAnyOtherValue) {
    const std::string body = "<dict>\n<key>a</key>\n<string>read</string>\n"
                             "<key>b</key>\n<string>also read</string>\n"
                             "<key>c</key>\n<string></string>\n</dict>\n";
    for (const std::string& value :
         {std::string(), std::string("r"), std::string("four"), std::string(999, 'x')}) {
        Dictionary dictionary;
        unMarshall(dictionary, body);
        for (const char* key : {"a", "c"}) {
            textAt(dictionary, key).setValue(value);
            EXPECT_EQ(dictionary.getValue(key), value);
        }
        textAt(dictionary, "a").setValue("again");
        EXPECT_STREQ(dictionary.getValue("a"), "again");
        EXPECT_STREQ(dictionary.getValue("b"), "also read");
    }
    Dictionary dictionary;
    unMarshall(dictionary, body);
    textAt(dictionary, "a") = textAt(dictionary, "b");
    EXPECT_STREQ(dictionary.getValue("a"), "also read");
    textAt(dictionary, "b") = textAt(dictionary, "c");
    EXPECT_STREQ(dictionary.getValue("b"), "");
}

TEST(DictionaryUnMarshall, CopiesOfAStringThatWasReadOutliveIt) {
    auto dictionary = std::make_unique<Dictionary>();
    unMarshall(*dictionary, "<dict>\n<key>a</key>\n<string>a text of some length</string>\n</dict>\n");
    const BasicItem copy(textAt(*dictionary, "a"));
    BasicItem assigned("n", "v");
    assigned = textAt(*dictionary, "a");
    const std::unique_ptr<Item> clone(textAt(*dictionary, "a").clone());
    EXPECT_TRUE(clone->equals(*dictionary->getItem("a")));
    dictionary.reset();
    for (const Item* const item : std::initializer_list<const Item*>{&copy, &assigned, clone.get()}) {
        EXPECT_EQ(item->getName(), "a");
        EXPECT_STREQ(item->getValue(), "a text of some length");
    }
}

// ---- Loading

TEST(DictionaryLoad, ReadsWhatSaveWrites) {
    Dictionary original = example();
    original.addValue("d.deep.deeper.n", INT_MIN);
    original.addValue("d.deep.s", "with \"quotes\" & <brackets>");
    original.addValue("", "empty key");
    original.addValue("utf-8 \xc3\xa4", "\xf0\x9f\x98\x80");
    Dictionary dictionary;
    load(dictionary, saved(original));
    EXPECT_TRUE(dictionary.equals(original));
    EXPECT_TRUE(original.equals(dictionary));
    EXPECT_EQ(saved(dictionary), saved(original));
}

TEST(DictionaryLoad, KeepsOtherKeysAndReplacesEqualOnes) {
    Dictionary dictionary;
    dictionary.addValue("other", "kept");
    dictionary.addValue("a", 77);
    dictionary.addValue("d.gone", 1);
    load(dictionary, std::string(HEADER) + EXAMPLE_TEXT);
    EXPECT_STREQ(dictionary.getValue("other"), "kept");
    EXPECT_STREQ(dictionary.getValue("a"), "x");
    EXPECT_EQ(dictionary.getItem("d.gone"), nullptr);
    EXPECT_STREQ(dictionary.getValue("d.b"), "y");
}

TEST(DictionaryLoad, AcceptsOtherAttributes) {
    Dictionary dictionary;
    load(dictionary,
         std::string("\xef\xbb\xbf<?xml standalone='yes'?>\n <plist version=\"1.0\" more=\"less\">\n") +
             EXAMPLE_TEXT);
    EXPECT_TRUE(dictionary.equals(example()));
}

TEST(DictionaryLoad, ReadsAFileWithCarriageReturns) {
    std::string text = std::string(HEADER) + EXAMPLE_TEXT + "</plist>\n";
    for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 2))
        text.insert(at, "\r");
    Dictionary dictionary;
    load(dictionary, text);
    EXPECT_TRUE(dictionary.equals(example()));
}

TEST(DictionaryLoad, ACarriageReturnBeforeTheClosingTagIsKept) {
    Dictionary dictionary;
    load(dictionary, std::string(HEADER) + "<dict>\n<key>a</key>\n<string>x\r</string>\n</dict>\n");
    EXPECT_STREQ(dictionary.getValue("a"), "x\r");
}

TEST(DictionaryLoad, TheTextEndsAtTheFirstZeroByte) {
    Dictionary dictionary;
    std::string text = std::string(HEADER) + "<dict>\n<key>a</key>\n<string>x</string>\n";
    text += '\0';
    text += "<key>b</key>\n<string>y</string>\n</dict>\n";
    load(dictionary, text);
    EXPECT_STREQ(dictionary.getValue("a"), "x");
    EXPECT_FALSE(dictionary.hasKey("b"));
    Dictionary cutInALine;
    load(cutInALine, std::string(HEADER) + "<dict>\n<key>a</key>\n<string>xy" + std::string(1, '\0') +
                         "z</string>\n</dict>\n");
    EXPECT_STREQ(cutInALine.getValue("a"), "xy");
    Dictionary cutInALongLine;
    const std::string value(70000, 'x');
    load(cutInALongLine, std::string(HEADER) + "<dict>\n<key>a</key>\n<string>" + value + "</string>" +
                             std::string(1, '\0') + "\n</dict>\n");
    EXPECT_EQ(cutInALongLine.getValue("a"), value);
}

TEST(DictionaryLoad, AMalformedBodyKeepsWhatCameBefore) {
    Dictionary dictionary;
    load(dictionary,
         std::string(HEADER) + "<dict>\n<key>a</key>\n<string>x</string>\n<key>d</key>\n<dict>\njunk\n");
    EXPECT_STREQ(dictionary.getValue("a"), "x");
    EXPECT_NE(dictionary.getItem("d"), nullptr);
    Dictionary unchanged = example();
    load(unchanged, std::string(HEADER) + "junk\n<dict>\n<key>b</key>\n<string>x</string>\n</dict>\n");
    load(unchanged, HEADER);
    EXPECT_TRUE(unchanged.equals(example()));
}

template <typename Exception>
static void expectRefused(const std::string& path, const char* message, int line, const std::string& traced) {
    Dictionary dictionary = example();
    TraceCapture trace;
    try {
        dictionary.loadFromFile(path);
        FAIL() << "nothing thrown for " << path;
    } catch (const Exception& exception) {
        EXPECT_STREQ(exception.what(), message);
        EXPECT_STREQ(exception.getFileName(), SOURCE);
        EXPECT_EQ(exception.getLine(), line);
        EXPECT_EQ(exception.toString(), std::string("Exception : ") + message + " on file " + SOURCE +
                                            " line " + std::to_string(line));
    }
    EXPECT_THAT(trace.text(), HasSubstr(">> [E] " + traced + "\n"));
    EXPECT_TRUE(dictionary.equals(example()));
}

static void expectRefusedText(const std::string& text, const char* message, int line) {
    const TemporaryFolder folder;
    writeFile(folder / "list", text);
    expectRefused<KFDictionaryParsingException>(folder / "list", message, line, message);
}

TEST(DictionaryLoad, RefusesAFileThatCannotBeRead) {
    const TemporaryFolder folder;
    const std::string missing = folder / "missing";
    expectRefused<KFDictionaryFileException>(missing, "Can't open file", 882, "Can't open file " + missing);
    // A folder can be opened, but not read.
    expectRefused<KFDictionaryFileException>(folder.path(), "Can't open file", 882,
                                             "Can't open file " + folder.path());
    expectRefused<KFDictionaryFileException>("", "Can't open file", 882, "Can't open file ");
}

TEST(DictionaryLoad, RefusesAFileThatFailsInTheMiddle) {
    const TemporaryFolder folder;
    Dictionary large;
    for (int i = 0; i < 3000; ++i) // enough for several pieces
        large.addValue("key" + std::to_string(i), "value");
    large.saveToFile(folder / "list");
    for (const int reads : {0, 1, 2}) {
        readsBeforeError = reads;
        expectRefused<KFDictionaryFileException>(folder / "list", "Can't open file", 882,
                                                 "Can't open file " + (folder / "list"));
        readsBeforeError = -1;
    }
}

TEST(DictionaryLoad, GoesOnAfterASignal) {
    const TemporaryFolder folder;
    example().saveToFile(folder / "list");
    interruptions = 3;
    Dictionary dictionary;
    dictionary.loadFromFile(folder / "list");
    EXPECT_EQ(interruptions, 0);
    EXPECT_TRUE(dictionary.equals(example()));
}

TEST(DictionaryLoad, RefusesAFileThatItMayNotRead) {
    const TemporaryFolder folder;
    writeFile(folder / "closed", std::string(HEADER) + EXAMPLE_TEXT);
    ASSERT_EQ(chmod((folder / "closed").c_str(), 0), 0);
    ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
    EXPECT_TRUE(asOrdinaryUser(folder.path(), [] {
        try {
            Dictionary().loadFromFile("closed");
        } catch (const KFDictionaryFileException&) {
            return true;
        }
        return false;
    }));
}

TEST(DictionaryLoad, RefusesATextWithoutXmlHeader) {
    expectRefusedText("", "No XML header found", 876);
    expectRefusedText("\n<?xml?>\n<plist version=\"1.0\">\n", "No XML header found", 876);
    expectRefusedText("<plist version=\"1.0\">\n<dict>\n</dict>\n</plist>", "No XML header found", 876);
    expectRefusedText(std::string(1, '\0') + HEADER, "No XML header found", 876);
    expectRefusedText(std::string("junk\0", 5) + HEADER, "No XML header found", 876);
}

TEST(DictionaryLoad, RefusesAnyOtherVersion) {
    const char message[] = "Incorrect plist or bad version";
    expectRefusedText("<?xml?>\n<plist version=\"2.0\">\n<dict>\n</dict>\n</plist>", message, 870);
    expectRefusedText("<?xml?>\n<plist version='1.0'>\n<dict>\n</dict>\n</plist>", message, 870);
    expectRefusedText("<?xml?>\n<plist>\n", message, 870);
    expectRefusedText("<?xml?>\n\n<plist version=\"1.0\">\n", message, 870);
    expectRefusedText("<?xml?><plist version=\"1.0\">\n<dict>\n", message, 870);
    expectRefusedText("<?xml?>", message, 870);
    expectRefusedText(std::string("<?xml\0?>\n", 9) + HEADER, message, 870);
}

TEST(DictionaryLoad, ReadsAWholeFileWhateverItsSize) {
    for (const std::size_t size : {4000u, 4096u, 4097u, 70000u, 1000000u}) {
        Dictionary original;
        original.addValue("value", std::string(size, 'v'));
        original.addValue("z", "last");
        Dictionary dictionary;
        load(dictionary, saved(original));
        EXPECT_TRUE(dictionary.equals(original)) << size;
    }
}

TEST(DictionaryLoad, ReadsALineOf60Megabytes) {
    const std::string value(60u << 20, 'v');
    const std::string almostTags(1u << 20, '<');
    Dictionary dictionary;
    load(dictionary, std::string(HEADER) + "<dict>\n<key>a</key>\n<string>" + value +
                         "</string>\n<key>b</key>\n" + "<string>" + almostTags + "\n</dict>\n");
    EXPECT_EQ(dictionary.getValue("a"), value);
    EXPECT_EQ(dictionary.getValue("b"), almostTags);
}

// The reader takes the file in pieces, which may end anywhere in a line.
TEST(DictionaryLoad, ReadsAKeyAndItsValueFromDifferentPieces) {
    const std::string tail =
        "<key>text</key>\n<string>x</string>\n<key>number</key>\n<int>5</int>\n"
        "<key>dictionary</key>\n<dict>\n<key>a</key>\n<string>y</string>\n</dict>\n</dict>\n";
    const std::size_t piece = 32768;
    for (std::size_t end = piece; end < piece + tail.size() + 10; ++end) {
        std::string text = std::string(HEADER) + "<dict>\n<key>filler</key>\n<string></string>\n";
        text.insert(text.rfind('<'), end - text.size() - tail.size(), 'f');
        Dictionary dictionary;
        load(dictionary, text + tail + std::string(piece, 'b')); // fills the next piece
        ASSERT_STREQ(dictionary.getValue("text"), "x") << end;
        ASSERT_EQ(numberAt(dictionary, "number"), 5) << end;
        ASSERT_STREQ(dictionary.getValue("dictionary.a"), "y") << end;
    }
}

TEST(DictionaryLoad, NamesEveryItemLikeItsKey) {
    const std::string name = "a name that fills a block of memory";
    Dictionary dictionary;
    load(dictionary, std::string(HEADER) + "<dict>\n<key>" + name + "</key>\n<dict>\n<key>" + name +
                         "</key>\n<string>x</string>\n<key>n</key>\n<int>1</int>\n</dict>\n</dict>\n");
    EXPECT_EQ(dictionary.getItem(name)->getName(), name);
    EXPECT_EQ(dictionary.getItem(name + "." + name)->getName(), name);
    EXPECT_EQ(dictionary.getItem(name + ".n")->getName(), "n");
}

TEST(DictionaryLoad, ReadsKeysInAnyOrder) {
    std::string text = std::string(HEADER) + "<dict>\n";
    for (int i = 0; i < 1000; ++i) {
        const std::string number = std::to_string(i * 7919 % 1000);
        text += "<key>" + number + "</key>\n<string>value " + number + "</string>\n";
    }
    Dictionary dictionary;
    load(dictionary, text + "</dict>\n");
    for (int i = 0; i < 1000; ++i)
        ASSERT_STREQ(dictionary.getValue(std::to_string(i)), ("value " + std::to_string(i)).c_str());
}

TEST(DictionaryLoad, RefusesWhatIsNoRegularFileOrTooLarge) {
    const TemporaryFolder folder;
    const std::string path = folder / "list";
    const auto isRefused = [](const std::string& file) {
        Dictionary dictionary;
        dictionary.addValue("before", "kept");
        try {
            dictionary.loadFromFile(file);
        } catch (const KFDictionaryFileException&) {
            return dictionary.getValue("before") != nullptr;
        }
        return false;
    };
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_TRUE(isRefused(path));
    EXPECT_TRUE(isRefused("/dev/zero"));
    ASSERT_EQ(unlink(path.c_str()), 0);
    writeFile(path, std::string(HEADER) + "<dict>\n</dict>\n");
    EXPECT_FALSE(isRefused(path));
    ASSERT_EQ(truncate(path.c_str(), 64 * 1024 * 1024 + 1), 0); // a hole, which takes no space on the disk
    EXPECT_TRUE(isRefused(path));
}

namespace {

class WhatIsTold : public DictionaryReadingObserver {
public:
    std::vector<std::string> m_events;

    void onBegin(std::size_t position) override { tell("begin", position); }
    void onKey(std::size_t position, std::string_view key, std::size_t valuePosition, Kind kind) override {
        tell(std::string(key) + " (" + std::to_string(static_cast<int>(kind)) + " at " +
                 std::to_string(valuePosition) + ")",
             position);
    }
    void onEnd(std::size_t position, std::string_view line) override {
        tell("end '" + std::string(line) + "'", position);
    }
    void onTooDeep(std::size_t position) override { tell("too deep", position); }

private:
    void tell(const std::string& what, std::size_t position) {
        m_events.push_back(std::to_string(position) + " " + what);
    }
};

} // namespace

TEST(DictionaryReadingObserver, IsToldOfEachLineThatTheReaderUses) {
    const TemporaryFolder folder;
    // The header ends at 61. There is a dictionary in a dictionary, a value that is skipped, and a line that
    // ends the outer dictionary.
    writeFile(folder / "list", std::string(HEADER) +
                                   "<dict>\n<key>a</key>\n<string>x</string>\n<key>d</key>\n<dict>\n"
                                   "<key>i</key>\n<int>1</int>\n</dict>\n<key>t</key>\n<true/>\n"
                                   "\n<key>never</key>\n<string>y</string>\n");
    WhatIsTold told;
    Dictionary dictionary;
    dictionary.loadFromFile(folder / "list", &told);
    EXPECT_THAT(told.m_events, testing::ElementsAre("61 begin", "68 a (0 at 81)", "100 d (2 at 113)",
                                                    "113 begin", "120 i (1 at 133)", "146 end '</dict>'",
                                                    "154 t (3 at 167)", "175 end ''"));
    EXPECT_STREQ(dictionary.getValue(std::string("a")), "x");
    EXPECT_FALSE(dictionary.hasKey("never"));
}

TEST(DictionaryReadingObserver, IsToldOfADictionaryThatIsTooDeep) {
    const TemporaryFolder folder;
    std::string text = HEADER;
    text += "<dict>\n";
    for (int i = 0; i < Dictionary::MAXIMUM_DEPTH; ++i)
        text += "<key>d</key>\n<dict>\n";
    writeFile(folder / "list", text);
    WhatIsTold told;
    Dictionary().loadFromFile(folder / "list", &told);
    EXPECT_THAT(told.m_events, testing::Contains(std::to_string(text.size() - 7) + " too deep"));
}

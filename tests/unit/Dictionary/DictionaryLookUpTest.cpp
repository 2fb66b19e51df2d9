#include "BasicItem.h"
#include "Dictionary.h"
#include "IntBasicItem.h"
#include "KFExceptionHandler.h"
#include "TraceCapture.h"

#include <csignal>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StrEq;

static std::string hexadecimal(const void* object) {
    char text[16];
    snprintf(text, sizeof text, "%x", static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(object)));
    return text;
}

TEST(DictionaryGetItem, FollowsAPath) {
    Dictionary dictionary;
    dictionary.addValue("a.b.c", "v");
    EXPECT_STREQ(dictionary.getItem("a.b.c")->getValue(), "v");
    EXPECT_EQ(dictionary.getItem(std::string("a.b")), dictionary.getItem("a")->getItem("b"));
    EXPECT_STREQ(dictionary.getItem("a")->getAsDictionary()->getValue("b.c"), "v");
}

TEST(DictionaryGetItem, OfAMissingKeyIsNullAndTracedByTheDictionaryThatLacksIt) {
    Dictionary dictionary;
    dictionary.addValue("a.b.c", "v");
    TraceCapture trace;
    EXPECT_EQ(dictionary.getItem("a.x"), nullptr);
    const void* const inner = dictionary.getItem("a");
    EXPECT_THAT(trace.text(), HasSubstr("getting on [" + hexadecimal(&dictionary) + "] root path a.x\n"));
    EXPECT_THAT(trace.text(), HasSubstr("getting on [" + hexadecimal(inner) + "] a path x\n"));
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] Key x not found\n"));
}

TEST(DictionaryGetItem, OfAMissingHeadIsNullAndTraced) {
    Dictionary dictionary;
    TraceCapture trace;
    EXPECT_EQ(dictionary.getItem("m.x"), nullptr);
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] Head key m not found\n"));
}

TEST(DictionaryGetItem, BelowALeafIsNullAndTraced) {
    Dictionary dictionary;
    dictionary.addValue("s", "v");
    TraceCapture trace;
    EXPECT_EQ(dictionary.getItem("s.x"), nullptr);
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] Child with key s is not a dictionary\n"));
}

TEST(DictionaryGetItem, OfTheEmptyPathLooksUpTheEmptyKey) {
    Dictionary dictionary;
    EXPECT_EQ(dictionary.getItem(""), nullptr);
    EXPECT_EQ(dictionary.getItem(std::string()), nullptr);
    dictionary.addValue("", "empty");
    EXPECT_STREQ(dictionary.getValue(""), "empty");
}

TEST(DictionaryGetItem, DotsAtTheEndsNameEmptyKeys) {
    Dictionary dictionary;
    dictionary.addValue("a.", "trailing");
    dictionary.addValue(".a", "leading");
    dictionary.addValue("x..y", "double");
    EXPECT_STREQ(dictionary.getValue("a."), "trailing");
    EXPECT_STREQ(dictionary.getItem("a")->getAsDictionary()->getValue(""), "trailing");
    EXPECT_STREQ(dictionary.getValue(".a"), "leading");
    EXPECT_STREQ(dictionary.getValue("x..y"), "double");
    EXPECT_EQ(dictionary.getItem("a.."), nullptr);
    EXPECT_EQ(dictionary.getItem(".."), nullptr);
}

TEST(DictionaryGetItem, AKeyWithADotCannotBeReachedByPath) {
    std::stringstream in("<dict>\n<key>a.b</key>\n<string>v</string>\n</dict>\n");
    Dictionary dictionary;
    dictionary.unMarshall(in);
    EXPECT_TRUE(dictionary.hasKey("a.b"));
    EXPECT_EQ(dictionary.getItem("a.b"), nullptr);
}

TEST(DictionaryGetItem, NeverAddsAKey) {
    Dictionary dictionary;
    int number = 0;
    dictionary.getItem("a.b");
    dictionary.getValue("a");
    dictionary.getValueAs("a", number);
    dictionary.contains("a.b");
    dictionary.findItem("a");
    dictionary.findItems("a");
    dictionary.hasKey("a");
    EXPECT_EQ(dictionary.getFirstItem(), nullptr);
}

TEST(DictionaryGetItem, OfAPathLongerThanTheTreeIsNull) {
    Dictionary dictionary;
    dictionary.addValue("..", "v");
    EXPECT_EQ(dictionary.getItem(std::string(100000, '.')), nullptr);
    EXPECT_FALSE(dictionary.contains(std::string(100000, '.')));
    dictionary.removeItem(std::string(100000, '.'));
    EXPECT_STREQ(dictionary.getValue(".."), "v");
}

// In a child process, because the crash handler, which reports the violation, ends the process.
TEST(DictionaryGetItem, ANullPathBreaksTheContract) {
    const TemporaryFolder folder;
    const pid_t child = fork();
    if (child == 0) {
        Tracer tracer;
        Tracer::SetInstance(&tracer);
        tracer.TraceTheThread("*");
        tracer.TraceTheCall("*");
        tracer.addToLevelMask(MSG_ERROR);
        tracer.SetFileName(folder / "trace");
        tracer.setEnabled(true);
        Dictionary().getItem(static_cast<const char*>(nullptr));
        _exit(1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_THAT(
        readFile(folder / "trace_0.txt"),
        HasSubstr("REQUIRE VIOLATION : cpath != NULL - In File : "
                  "product/Infrastructure/ProgrammingServices/Dictionary/src/Dictionary - At Line : 317\n"));
}

TEST(DictionaryGetItem, ANullPathFindsNothingWhereABrokenContractIsIgnored) {
    const pid_t child = fork();
    if (child == 0) {
        KFExceptionHandler::GetInstance();
        signal(30, SIG_IGN); // the signal of broken contracts
        Dictionary dictionary;
        // Not 0, which is the status after a crash, too.
        _exit(dictionary.getItem(static_cast<const char*>(nullptr)) == nullptr ? 42 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 42);
}

TEST(DictionaryGetValue, IsForTextsOnly) {
    Dictionary dictionary;
    dictionary.addValue("n", 5);
    dictionary.addValue("s", "x");
    dictionary.addValue("d.s", "y");
    int number = 0;
    EXPECT_EQ(dictionary.getValue("n"), nullptr);
    EXPECT_TRUE(dictionary.getValueAs("n", number));
    EXPECT_EQ(number, 5);
    EXPECT_STREQ(dictionary.getValue("s"), "x");
    EXPECT_FALSE(dictionary.getValueAs("s", number));
    EXPECT_FALSE(dictionary.getValueAs("missing", number));
    EXPECT_EQ(number, 5);
    EXPECT_EQ(dictionary.getValue("d"), nullptr);
    EXPECT_EQ(dictionary.getValue("missing"), nullptr);
    EXPECT_STREQ(dictionary.getValue("d.s"), "y");
}

TEST(DictionaryHasKey, TakesNoPath) {
    Dictionary dictionary;
    dictionary.addValue("a.b", "v");
    EXPECT_TRUE(dictionary.hasKey("a"));
    EXPECT_FALSE(dictionary.hasKey("a.b"));
    EXPECT_FALSE(dictionary.hasKey("b"));
}

TEST(DictionaryContains, FindsWhatGetItemFinds) {
    Dictionary dictionary;
    dictionary.addValue("a.b.c", "v");
    EXPECT_TRUE(dictionary.contains("a"));
    EXPECT_TRUE(dictionary.contains("a.b"));
    EXPECT_TRUE(dictionary.contains("a.b.c"));
    EXPECT_FALSE(dictionary.contains("a.c"));
    EXPECT_FALSE(dictionary.contains("x"));
    EXPECT_FALSE(dictionary.contains("x.b"));
}

// Deliberately looser than getItem: callers rely on it.
TEST(DictionaryContains, AnyChildMayHoldTheRestOfThePath) {
    Dictionary dictionary;
    dictionary.addValue("a", "a leaf");
    dictionary.addValue("z.b", "v");
    EXPECT_TRUE(dictionary.contains("a.b"));
    EXPECT_EQ(dictionary.getItem("a.b"), nullptr);
    EXPECT_FALSE(dictionary.contains("m.b")) << "the head itself must be there";
    EXPECT_FALSE(dictionary.contains("a.c"));
}

TEST(DictionaryFind, GoesDepthFirstInKeyOrder) {
    Dictionary dictionary;
    dictionary.addValue("x.deep.k", "x");
    dictionary.addValue("y.k", "y");
    dictionary.addValue("leaf", "l");
    EXPECT_STREQ(dictionary.findItem("k")->getValue(), "x");
    EXPECT_STREQ(dictionary.findValue("k"), "x");
    dictionary.addValue("k", "own");
    EXPECT_STREQ(dictionary.findItem("k")->getValue(), "own");
    EXPECT_STREQ(dictionary.findValue("k"), "own");
    EXPECT_EQ(dictionary.findItem("missing"), nullptr);
    EXPECT_EQ(dictionary.findValue("missing"), nullptr);
}

TEST(DictionaryFind, TakesADottedKeyAsAPathOnEveryLevel) {
    Dictionary dictionary;
    dictionary.addValue("x.y.a.b", "v");
    EXPECT_STREQ(dictionary.findValue("a.b"), "v");
    EXPECT_STREQ(dictionary.findValue("y.a.b"), "v");
    EXPECT_THAT(dictionary.findItems("a.b"), ElementsAre(dictionary.getItem("x.y.a.b")));
}

TEST(DictionaryFind, ADictionaryThatHasTheKeyWithoutATextIsNotSearchedFurther) {
    Dictionary dictionary;
    dictionary.addValue("k", 5);
    dictionary.addValue("x.k", "text");
    EXPECT_EQ(dictionary.findValue("k"), nullptr);
    dictionary.removeItem("k");
    dictionary.addValue("a.k", 5);
    EXPECT_STREQ(dictionary.findValue("k"), "text") << "but its neighbours are";
}

TEST(DictionaryFind, ListsAllHitsExceptBelowADictionaryThatAnswered) {
    Dictionary dictionary;
    dictionary.addValue("x.k", "x");
    dictionary.addValue("x.deep.k", "not listed");
    dictionary.addValue("y.deep.k", "y");
    dictionary.addValue("z.k", 7);
    EXPECT_THAT(
        dictionary.findItems("k"),
        ElementsAre(dictionary.getItem("x.k"), dictionary.getItem("y.deep.k"), dictionary.getItem("z.k")));
    EXPECT_THAT(dictionary.findValues("k"), ElementsAre(StrEq("x"), StrEq("y")));
    dictionary.addValue("k", "root");
    EXPECT_THAT(dictionary.findItems("k"), ElementsAre(dictionary.getItem("k")));
    EXPECT_THAT(dictionary.findValues("k"), ElementsAre(StrEq("root")));
    EXPECT_THAT(dictionary.findItems("missing"), IsEmpty());
    EXPECT_THAT(dictionary.findValues("missing"), IsEmpty());
}

// Dictionary's findValues does not override Item's: through an Item, the inherited operation is called.
TEST(DictionaryFind, AskedThroughAnItemTheListOfValuesIsEmpty) {
    Dictionary dictionary;
    dictionary.addValue("k", "v");
    Item& item = dictionary;
    EXPECT_THAT(item.findValues("k"), IsEmpty());
    EXPECT_THAT(dictionary.findValues("k"), ElementsAre(StrEq("v")));
}

TEST(DictionaryFind, TracesItsWay) {
    Dictionary dictionary;
    dictionary.addValue("leaf", "l");
    dictionary.addValue("x.k", "v");
    {
        TraceCapture trace;
        dictionary.findItem("k");
        EXPECT_THAT(trace.text(), HasSubstr(">> [D] looking for k\n"));
        EXPECT_THAT(trace.text(), HasSubstr(">> [D] item not found looking in children\n"));
        EXPECT_THAT(trace.text(), HasSubstr(">> [D] child is not a dictionary\n"));
        EXPECT_THAT(trace.text(), HasSubstr(">> [D] item found BasicItem [0x"));
    }
    {
        TraceCapture trace;
        dictionary.findValue("k");
        EXPECT_THAT(trace.text(), HasSubstr(">> [D] looking for k\n"));
        EXPECT_THAT(trace.text(), HasSubstr(">> [D] item not found looking in children\n"));
        EXPECT_THAT(trace.text(), HasSubstr(">> [D] child is not a dictionary\n"));
        EXPECT_THAT(trace.text(), HasSubstr(">> [D] item found BasicItem [0x"));
    }
}

TEST(DictionaryItemPath, IsThePathOfAnEqualItem) {
    Dictionary dictionary;
    dictionary.addValue("a", "x");
    dictionary.addValue("d.e.b", "y");
    BasicItem equalCopy("b", "y");
    EXPECT_EQ(dictionary.getItemPath(equalCopy), "d.e.b");
    EXPECT_TRUE(dictionary.contains(equalCopy));
    BasicItem top("a", "x");
    EXPECT_EQ(dictionary.getItemPath(top), "a");
    EXPECT_EQ(dictionary.getItemPath(*dictionary.getItem("d.e")), "d.e");
    BasicItem missing("c", "x");
    EXPECT_EQ(dictionary.getItemPath(missing), "");
    EXPECT_FALSE(dictionary.contains(missing));
    IntBasicItem otherKind("a", 1);
    EXPECT_FALSE(dictionary.contains(otherKind));
}

TEST(DictionaryItemPath, ADifferentItemOfThatNameEndsTheSearchBelowIt) {
    Dictionary dictionary;
    dictionary.addValue("b", "different");
    dictionary.addValue("d.b", "y");
    BasicItem item("b", "y");
    EXPECT_EQ(dictionary.getItemPath(item), "");
    dictionary.removeItem("b");
    dictionary.addValue("c.b", "different");
    dictionary.addValue("c.x.b", "y");
    EXPECT_EQ(dictionary.getItemPath(item), "d.b") << "neighbours are still searched";
}

TEST(DictionaryItemPath, TracesWhatItLooksForAndWhatItFound) {
    Dictionary dictionary;
    dictionary.addValue("d.b", "y");
    BasicItem item("b", "y");
    TraceCapture trace;
    dictionary.getItemPath(item);
    EXPECT_THAT(trace.text(), HasSubstr("looking for item [" + hexadecimal(&item) + "] name b in " +
                                        hexadecimal(&dictionary) + "\n"));
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] item path is d.b\n"));
}

// The text of a whole tree is expensive; it is made only if its line is written.
TEST(DictionaryFind, MakesNoTraceTextForAMessageThatTheMaskHides) {
    Dictionary dictionary;
    dictionary.addValue("k", "v");
    class Counting : public BasicItem {
    public:
        using BasicItem::BasicItem;
        Item* clone() override { return std::make_unique<Counting>(*this).release(); }
        std::string toString(const std::string& indent) override {
            ++texts();
            return BasicItem::toString(indent);
        }
        static int& texts() {
            static int count = 0;
            return count;
        }
    };
    Counting item("c", "v");
    dictionary.setItem("c", item);
    dictionary.findItem("c");
    EXPECT_EQ(Counting::texts(), 0);
    TraceCapture trace;
    dictionary.findItem("c");
    EXPECT_EQ(Counting::texts(), 1);
}

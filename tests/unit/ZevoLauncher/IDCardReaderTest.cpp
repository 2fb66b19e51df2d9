#include "IDCardReader.h"

#include "IDCardObserver.h"
#include "TemporaryFolder.h"
#include "TextFile.h"
#include "TraceCapture.h"

#include <clocale>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;

namespace {

class IDCardReaderTest : public testing::Test {
protected:
    bool read(const std::string& content) {
        writeFile(m_folder / "ID.txt", content);
        return m_reader.readIDCard();
    }
    std::map<std::string, std::string> params() { return m_reader.getIDCardParams(); }

    TemporaryFolder m_folder;
    IDCardReader m_reader{m_folder.path() + "/"};
};

class WhatIsTold : public IDCardObserver {
public:
    std::vector<std::string> m_events;

    void onPair(int line, const std::string& key, const std::string& value) override {
        m_events.push_back(std::to_string(line) + " " + key + "=" + value);
    }
    void onSkipped(int line) override { m_events.push_back(std::to_string(line) + " skipped"); }
    void onRefused(int line) override { m_events.push_back(std::to_string(line) + " refused"); }
};

TEST_F(IDCardReaderTest, AnObserverIsToldWhatBecomesOfEachLine) {
    writeFile(m_folder / "ID.txt", "A=1\r\n\n=x\nB\nC&D\nE=2\n");
    WhatIsTold told;
    EXPECT_FALSE(m_reader.readIDCard(&told));
    EXPECT_THAT(told.m_events, ElementsAre("1 A=1", "2 skipped", "3 skipped", "4 B=B", "5 refused"));
}

TEST_F(IDCardReaderTest, NothingIsReadBeforeItIsAskedFor) {
    writeFile(m_folder / "ID.txt", "A=1\n");
    EXPECT_THAT(params(), IsEmpty());
    EXPECT_EQ(m_reader.getParam("A"), "");
}

TEST_F(IDCardReaderTest, AMissingCardIsFalse) {
    EXPECT_FALSE(m_reader.readIDCard());
}

TEST_F(IDCardReaderTest, AFolderInPlaceOfTheCardIsFalse) {
    mkdir((m_folder / "ID.txt").c_str(), 0777);
    EXPECT_FALSE(m_reader.readIDCard());
}

TEST_F(IDCardReaderTest, ACardThatIsTooLargeIsFalse) {
    EXPECT_TRUE(read("A=1\n" + std::string(1024 * 1024 - 4, 'x')));
    EXPECT_FALSE(read("A=1\n" + std::string(1024 * 1024 - 3, 'x')));
}

TEST_F(IDCardReaderTest, NoSeparatorIsAddedToTheFolder) {
    writeFile(m_folder / "cardID.txt", "A=1\n");
    IDCardReader reader(m_folder / "card");
    EXPECT_TRUE(reader.readIDCard());
    EXPECT_EQ(reader.getParam("A"), "1");
}

TEST_F(IDCardReaderTest, AnEmptyCardIsFalse) {
    EXPECT_FALSE(read(""));
}

TEST_F(IDCardReaderTest, ACardOfEmptyKeysOnlyIsFalse) {
    EXPECT_FALSE(read("\n=value\n\n="));
    EXPECT_THAT(params(), IsEmpty());
}

TEST_F(IDCardReaderTest, OnePairIsEnough) {
    EXPECT_TRUE(read("\n=x\nA=1\n\n"));
    EXPECT_THAT(params(), ElementsAre(Pair("A", "1")));
}

TEST_F(IDCardReaderTest, CarriageReturnsDoNotBelongToTheValues) {
    EXPECT_TRUE(read("A=1\r\nB=2\r\n"));
    EXPECT_THAT(params(), ElementsAre(Pair("A", "1"), Pair("B", "2")));
}

TEST_F(IDCardReaderTest, AnEmptyLineWithACarriageReturnIsALineWithoutEqualsSign) {
    EXPECT_TRUE(read("\r\n"));
    EXPECT_THAT(params(), ElementsAre(Pair("\r", "")));
}

TEST_F(IDCardReaderTest, BlanksAroundTheEqualsSignAreKept) {
    EXPECT_TRUE(read("KEY = VALUE\n"));
    EXPECT_THAT(params(), ElementsAre(Pair("KEY ", " VALUE")));
}

TEST_F(IDCardReaderTest, KeysDifferByLetterCase) {
    read("Key=1\nKEY=2\n");
    EXPECT_THAT(params(), ElementsAre(Pair("KEY", "2"), Pair("Key", "1")));
}

TEST_F(IDCardReaderTest, ALastLineWithoutLineFeedIsReadLikeTheOthers) {
    EXPECT_TRUE(read("A=1\nB=2"));
    EXPECT_THAT(params(), ElementsAre(Pair("A", "1"), Pair("B", "2")));
}

TEST_F(IDCardReaderTest, ALastLineFeedAddsNoEntry) {
    read("A=1\n");
    EXPECT_EQ(params().size(), 1u);
}

TEST_F(IDCardReaderTest, ALaterLineReplacesAnEarlierOneOfTheSameKey) {
    EXPECT_TRUE(read("A=1\nA=2\n"));
    EXPECT_THAT(params(), ElementsAre(Pair("A", "2")));
}

TEST_F(IDCardReaderTest, FurtherEqualsSignsBelongToTheValue) {
    EXPECT_TRUE(read("K=a=b\n"));
    EXPECT_THAT(params(), ElementsAre(Pair("K", "a=b")));
}

TEST_F(IDCardReaderTest, ALineWithoutEqualsSignIsItsOwnKeyAndValue) {
    EXPECT_TRUE(read("word\ttail\n"));
    EXPECT_THAT(params(), ElementsAre(Pair("word\ttail", "word")));
}

TEST_F(IDCardReaderTest, AnEmptyValueIsStored) {
    EXPECT_TRUE(read("A=\n"));
    EXPECT_THAT(params(), ElementsAre(Pair("A", "")));
}

TEST_F(IDCardReaderTest, AnAmpersandAnywhereDeliberatelyRefusesTheCard) {
    EXPECT_FALSE(read("A=1\nX&Y\nB=2\n"));
    EXPECT_THAT(params(), ElementsAre(Pair("A", "1")));
}

TEST_F(IDCardReaderTest, AnAmpersandInAValueOrInALineWithoutKeyRefusesTheCardToo) {
    EXPECT_FALSE(read("A=1&2\n"));
    EXPECT_FALSE(read("B=1\n=&\n"));
    EXPECT_FALSE(read("B=1\n&"));
}

TEST_F(IDCardReaderTest, AValueEndsAtItsFirstNonPrintingCharacter) {
    read(std::string("A=x y~z\x7Fzz\nB=tab\tbed\nC=nul") + '\0' + "led\nD=\x1B[0m\n");
    EXPECT_THAT(params(), ElementsAre(Pair("A", "x y~z"), Pair("B", "tab"), Pair("C", "nul"), Pair("D", "")));
}

TEST_F(IDCardReaderTest, BytesAbove126AreNonPrintingWhateverTheLocale) {
    const std::string before = setlocale(LC_ALL, NULL);
    for (const char* name : {"C", "C.UTF-8", "en_US.ISO-8859-1", ""}) {
        setlocale(LC_ALL, name);
        read("A=caf\xE9 noir\nB=\xC3\xA9\n");
        EXPECT_THAT(params(), ElementsAre(Pair("A", "caf"), Pair("B", "")));
    }
    setlocale(LC_ALL, before.c_str());
}

TEST_F(IDCardReaderTest, NonPrintingCharactersInAKeyAreKept) {
    read("A\tB=1\n");
    EXPECT_EQ(m_reader.getParam("A\tB"), "1");
}

TEST_F(IDCardReaderTest, ReadingAgainAddsToTheTableAndOverwritesInIt) {
    EXPECT_TRUE(read("A=1\nB=2\n"));
    EXPECT_TRUE(read("B=3\nC=4\n"));
    EXPECT_THAT(params(), ElementsAre(Pair("A", "1"), Pair("B", "3"), Pair("C", "4")));
}

TEST_F(IDCardReaderTest, ReadingAgainGivesTheResultOfThatReading) {
    EXPECT_TRUE(read("A=1\n"));
    EXPECT_FALSE(read("\n"));
    EXPECT_EQ(m_reader.getParam("A"), "1");
}

TEST_F(IDCardReaderTest, ALineOfHalfAMegabyteIsOnePair) {
    EXPECT_TRUE(read("A=" + std::string(1 << 19, 'x') + "\nB=1\n"));
    EXPECT_EQ(m_reader.getParam("A").size(), 1u << 19);
    EXPECT_EQ(m_reader.getParam("B"), "1");
}

TEST_F(IDCardReaderTest, EachGetterReadsItsKey) {
    EXPECT_TRUE(read("FLEET_ID=1\nCUSTOMER_ID=2\nGENERATION_VERSION=3\nIT_MANAGER=4\nBU_NAME=5\n"
                     "REFERENCE_VERSION=6\nPRODUCT_NAME=7\nBUILD_TARGET=8\nCOMMERCIAL_VERSION=9\n"
                     "PRODUCT_VERSION=10\nUPGRADE_CODE=11\nOTHER=12\n"));
    EXPECT_EQ(m_reader.getFleetID(), "1");
    EXPECT_EQ(m_reader.getCustomerID(), "2");
    EXPECT_EQ(m_reader.getGenerationVersion(), "3");
    EXPECT_EQ(m_reader.getZevoAdministrationTool(), "4");
    EXPECT_EQ(m_reader.getBUName(), "5");
    EXPECT_EQ(m_reader.getReferenceVersion(), "6");
    EXPECT_EQ(m_reader.getProductName(), "7");
    EXPECT_EQ(m_reader.getBuildTarget(), "8");
    EXPECT_EQ(m_reader.getCommercialVersion(), "9");
    EXPECT_EQ(m_reader.getProductVersion(), "10");
    EXPECT_EQ(m_reader.getUpgradeCode(), "11");
    EXPECT_EQ(m_reader.getParam("OTHER"), "12");
    EXPECT_EQ(params().size(), 12u);
}

TEST_F(IDCardReaderTest, WhatTheCardLacksIsAnEmptyText) {
    read("A=1\n");
    EXPECT_EQ(m_reader.getParam("B"), "");
    EXPECT_EQ(m_reader.getFleetID(), "");
    EXPECT_EQ(m_reader.getUpgradeCode(), "");
    EXPECT_EQ(params().size(), 1u);
}

TEST_F(IDCardReaderTest, TheTableHandedOutIsACopy) {
    read("A=1\n");
    params()["A"] = "2";
    EXPECT_EQ(m_reader.getParam("A"), "1");
}

TEST_F(IDCardReaderTest, CallsAreTracedAndNoMessageIsWritten) {
    TraceCapture trace;
    {
        IDCardReader reader(m_folder.path() + "/");
        reader.readIDCard();
    }
    EXPECT_THAT(trace.text(), HasSubstr("IDCardReader::constructor\n"));
    EXPECT_THAT(trace.text(), HasSubstr("IDCardReader::readIDCard\n"));
    EXPECT_THAT(trace.text(), HasSubstr("IDCardReader::destructor\n"));
    EXPECT_THAT(trace.text(), Not(HasSubstr(">>")));
}

} // namespace

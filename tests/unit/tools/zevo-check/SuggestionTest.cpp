#include "Suggestion.h"

#include "LauncherConfigurationCheck.h"

#include <gtest/gtest.h>

using Zevo::hardwareIdMeantBy;
using Zevo::meantBy;

TEST(Suggestion, LetterCaseAloneIsNearest) {
    EXPECT_EQ(meantBy("trace_on", {"TRACE_ONE", "TRACE_ON", "TRACE_OFF"}), "TRACE_ON");
}

TEST(Suggestion, OneSlipOfEachKindIsFound) {
    for (const char* const word : {"TRACE_CLOK", "TRACE_CLOOCK", "TRACE_CLICK", "TRACE_CLCOK"})
        EXPECT_EQ(meantBy(word, {"TRACE_ON", "TRACE_CLOCK"}), "TRACE_CLOCK") << word;
}

TEST(Suggestion, WhatIsFarIsNotSuggested) {
    EXPECT_EQ(meantBy("SOMETHING", {"TRACE_ON", "TRACE_CLOCK"}), "");
    EXPECT_EQ(meantBy("", {"A", "BC"}), "A"); // one letter is missing
    EXPECT_EQ(meantBy("", {"BC"}), "");
}

TEST(Suggestion, AKnownWordMeansItself) {
    EXPECT_EQ(meantBy("AB", {"ab", "AB"}), "AB");
}

TEST(HardwareIdMeant, IsFoundInTheFormsThatPeopleWrite) {
    for (const char* const text :
         {"USB#Vid_12d1&Pid_1001", "12d1:1001", "12D1/1001", "usb#VID_12D1&PID_1001", "0x12d1:0x1001",
          "USB#Vid_12d1&amp;Pid_1001", "USB#Vid_12d1 & Pid_1001", "4817|4097", "Vid_12d1&Pid_1001"})
        EXPECT_EQ(hardwareIdMeantBy(text), "USB#Vid_12d1&Pid_1001") << text;
    EXPECT_EQ(hardwareIdMeantBy("5c6:0"), "USB#Vid_05c6&Pid_0000");
}

TEST(HardwareIdMeant, IsNotGuessed) {
    for (const char* const text : {"", "12d1", "12d1:10011", "99999|1", "modem", "12d1:1001:3"})
        EXPECT_EQ(hardwareIdMeantBy(text), "") << text;
    EXPECT_EQ(hardwareIdMeantBy(std::string(100000, '1')), "");
}

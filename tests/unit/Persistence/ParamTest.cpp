#include "Param.h"

#include "StoreTest.h"

namespace {

std::string marshalled(const t_Param& param) {
    int length = 0;
    const std::unique_ptr<char[]> bytes(param.marshall(length));
    return std::string(bytes.get(), static_cast<size_t>(length));
}

TEST(ParamTest, OwnsACopyOfTheBytes) {
    char bytes[] = "abc";
    const t_Param param("name", bytes, 3);
    bytes[0] = 'x';
    EXPECT_EQ(std::string(param.getInternalBuffer(), 3), "abc");
    EXPECT_EQ(param.getBufferSize(), 3);
}

TEST(ParamTest, AnEmptyOneHasABufferOfSizeZero) {
    const t_Param param;
    EXPECT_EQ(param.getBufferSize(), 0);
    EXPECT_NE(nullptr, param.getInternalBuffer());
}

TEST(ParamTest, CopiesDoNotShareTheirBytes) {
    const t_Param original("name", "abc", 3);
    const t_Param copy(original);
    t_Param assigned;
    assigned = original;
    for (const t_Param* param : {&copy, static_cast<const t_Param*>(&assigned)}) {
        EXPECT_NE(original.getInternalBuffer(), param->getInternalBuffer());
        EXPECT_EQ(marshalled(*param), marshalled(original));
    }
}

TEST(ParamTest, AssignmentToItselfKeepsTheBytes) {
    t_Param param("name", "abc", 3);
    const t_Param& same = param;
    param = same;
    EXPECT_EQ(marshalled(param), record("name", "abc"));
}

TEST(ParamTest, MarshallsToNameLengthPlusNinePlusSize) {
    EXPECT_EQ(marshalled(t_Param("name", "abc", 3)), record("name", "abc"));
    EXPECT_EQ(marshalled(t_Param("name", "abc", 3)).size(), 4u + 9u + 3u);
}

TEST(ParamTest, ReadsItsOwnRecordAndStopsBehindIt) {
    const std::string bytes = record("a", "1") + record("bc", "");
    size_t offset = 0;
    t_Param::Record read = {};
    ASSERT_TRUE(t_Param::unMarshall(bytes.data(), bytes.size(), offset, read));
    EXPECT_EQ(std::string(read.name, read.nameLength), "a");
    EXPECT_EQ(std::string(read.data, static_cast<size_t>(read.size)), "1");
    ASSERT_TRUE(t_Param::unMarshall(bytes.data(), bytes.size(), offset, read));
    EXPECT_EQ(std::string(read.name, read.nameLength), "bc");
    EXPECT_EQ(read.size, 0);
    EXPECT_EQ(offset, bytes.size());
    EXPECT_FALSE(t_Param::unMarshall(bytes.data(), bytes.size(), offset, read));
}

} // namespace

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
    EXPECT_EQ("abc", std::string(param.getInternalBuffer(), 3));
    EXPECT_EQ(3, param.getBufferSize());
}

TEST(ParamTest, AnEmptyOneHasABufferOfSizeZero) {
    const t_Param param;
    EXPECT_EQ(0, param.getBufferSize());
    EXPECT_NE(nullptr, param.getInternalBuffer());
}

TEST(ParamTest, CopiesDoNotShareTheirBytes) {
    const t_Param original("name", "abc", 3);
    const t_Param copy(original);
    t_Param assigned;
    assigned = original;
    for (const t_Param* param : {&copy, static_cast<const t_Param*>(&assigned)}) {
        EXPECT_NE(original.getInternalBuffer(), param->getInternalBuffer());
        EXPECT_EQ(marshalled(original), marshalled(*param));
    }
}

TEST(ParamTest, AssignmentToItselfKeepsTheBytes) {
    t_Param param("name", "abc", 3);
    const t_Param& same = param;
    param = same;
    EXPECT_EQ(record("name", "abc"), marshalled(param));
}

TEST(ParamTest, MarshallsToNameLengthPlusNinePlusSize) {
    EXPECT_EQ(record("name", "abc"), marshalled(t_Param("name", "abc", 3)));
    EXPECT_EQ(4u + 9u + 3u, marshalled(t_Param("name", "abc", 3)).size());
}

TEST(ParamTest, ReadsItsOwnRecordAndStopsBehindIt) {
    const std::string bytes = record("a", "1") + record("bc", "");
    size_t offset = 0;
    t_Param::Record read = {};
    ASSERT_TRUE(t_Param::unMarshall(bytes.data(), bytes.size(), offset, read));
    EXPECT_EQ("a", std::string(read.name, read.nameLength));
    EXPECT_EQ("1", std::string(read.data, static_cast<size_t>(read.size)));
    ASSERT_TRUE(t_Param::unMarshall(bytes.data(), bytes.size(), offset, read));
    EXPECT_EQ("bc", std::string(read.name, read.nameLength));
    EXPECT_EQ(0, read.size);
    EXPECT_EQ(bytes.size(), offset);
    EXPECT_FALSE(t_Param::unMarshall(bytes.data(), bytes.size(), offset, read));
}

} // namespace

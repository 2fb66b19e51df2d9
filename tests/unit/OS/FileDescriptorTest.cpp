#include "FileDescriptor.h"

#include <gtest/gtest.h>

TEST(FileDescriptorErrors, TellWhereNoNewFileCanBeMade) {
    for (const int error : {EPERM, EACCES, EROFS, EBUSY, ELOOP, ENAMETOOLONG, EINVAL, ENOTSUP, EOPNOTSUPP,
                            ENOSYS, ENOLCK, EEXIST}) {
        EXPECT_TRUE(forbidsNewFile(error)) << error;
    }
}

TEST(FileDescriptorErrors, WhatMayBeGoneForTheNextUserForbidsNoNewFile) {
    for (const int error : {ENOSPC, EDQUOT, EMFILE, ENFILE, EIO, ENOENT, EISDIR, EFBIG}) {
        EXPECT_FALSE(forbidsNewFile(error)) << error;
        EXPECT_FALSE(isUnsupported(error)) << error;
    }
}

#include <osl/cpputils/error.h>
#include <osl/testing/test.h>

using namespace Osl::CppUtil;

TEST(ErrorTest, WhatIsThePrefixesTheMessageAndTheRaiseSite)
{
    EXPECT_STREQ(Osl::Error("m", "f", 1).what(), "m(f:1)");
    EXPECT_STREQ(InvalidArgumentError("x", "f", 3).what(), "Invalid Argument Error: x(f:3)");
    EXPECT_STREQ(FileSystemError("M", "f.cpp", 47).what(), "IOErrorr: Generic filesystem Error: M(f.cpp:47)");
    EXPECT_STREQ(ParsingError("", "f", -1).what(), "Generic parsing Error: (f:-1)");
    EXPECT_STREQ(OutOfRangeError("o", "f", 1).what(), "Out of Range Error: o(f:1)");
    EXPECT_STREQ(NotImplementedError("n", "f", 1).what(), "Not Implemented Error: n(f:1)");
    EXPECT_STREQ(IOError("gone", nullptr, 3).what(), "IOErrorr: gone(");
    EXPECT_THAT(failureOf<IOError>([] { OSL_RAISE(FileSystemError, "bad"); }),
                StartsWith("IOErrorr: Generic filesystem Error: bad(components/osl_cpp_utils/src/error_test."));
}

#include <osl/cpputils/error.h>

#include <gtest/gtest.h>

using namespace Osl::CppUtil;

TEST(ErrorTest, WhatIsThePrefixesTheMessageAndTheRaiseSite)
{
    EXPECT_STREQ(Osl::Error("m", "f", 1).what(), "m(f:1)");
    EXPECT_STREQ(InvalidArgumentError("x", "f", 3).what(), "Invalid Argument Error: x(f:3)");
    EXPECT_STREQ(FileSystemError("M", "f.cpp", 47).what(), "IOErrorr: Generic filesystem Error: M(f.cpp:47)");
    EXPECT_STREQ(ParsingError("", "f", -1).what(), "Generic parsing Error: (f:-1)");
    EXPECT_STREQ(OutOfRangeError("o", "f", 1).what(), "Out of Range Error: o(f:1)");
    EXPECT_STREQ(NotImplementedError("n", "f", 1).what(), "Not Implemented Error: n(f:1)");
}

TEST(ErrorTest, NullFileCutsTheTextAfterTheParenthesis)
{
    EXPECT_STREQ(IOError("gone", nullptr, 3).what(), "IOErrorr: gone(");
}

TEST(ErrorTest, RaiseNamesTheProjectRelativeFile)
{
    try {
        OSL_RAISE(ParsingError, std::string("bad"));
    } catch (const Osl::Error& error) {
        EXPECT_EQ(
            std::string(error.what()).find("Generic parsing Error: bad(components/osl_cpp_utils/src/error_test.cpp:"),
            0U);
        return;
    }
    FAIL() << "nothing raised";
}

TEST(ErrorTest, BaseHandlersCatchDerivedKinds)
{
    EXPECT_THROW(OSL_RAISE(FileSystemError, "x"), IOError);
    EXPECT_THROW(OSL_RAISE(IOError, "x"), Osl::Error);
}

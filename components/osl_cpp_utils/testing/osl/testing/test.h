#pragma once

#include <osl/testing/failure_of.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// What nearly every test names; for test sources alone.
using namespace Osl::Testing;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

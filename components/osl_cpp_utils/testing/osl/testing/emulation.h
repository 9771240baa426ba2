#pragma once

#include <gtest/gtest.h>

/// Ends a test, as one that was skipped, where it runs under qemu-user, which `lack`.
#ifdef OSL_UNDER_QEMU
#define OSL_SKIP_UNDER_QEMU(lack) GTEST_SKIP() << "qemu-user " lack
#else
#define OSL_SKIP_UNDER_QEMU(lack) static_cast<void>(0)
#endif

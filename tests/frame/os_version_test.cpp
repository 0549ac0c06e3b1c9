#include "keswsec.h"

#include <gtest/gtest.h>

TEST(Frame, FreeAcceptsNull)
{
    sswseFreeMemory(nullptr);
    sswseErrRec rec;
    EXPECT_EQ(sswseIsOSVistaOrAbove(&rec), 1u);
}

// The user that runs the tests.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

inline std::string currentUser()
{
    char name[257] = {};
    DWORD size = sizeof name;
    EXPECT_TRUE(GetUserNameA(name, &size));
    return name;
}

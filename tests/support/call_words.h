// Platform calls in words, for people: texts, constants by their names, sizes, and what a handle belongs to; no address.
#pragma once

#include "tests/support/intercept.h"

namespace intercept {

// What handles and blocks are called, from the calls that gave them.
using Names = std::map<uintptr_t, std::string>;

struct CallWords
{
    std::string all;   // OpenServiceW(service manager, "KesOld", SERVICE_QUERY_CONFIG)
    std::string asked; // SERVICE_QUERY_CONFIG: rights, flags and names that an administrator wants to know of
};

CallWords wordsOf(const Row& row, const Raw& arguments, const Names& names);

// What the call gives is called; empty where the table has no word for it.
std::string resultOf(const Row& row, const Raw& arguments, const Names& names);

} // namespace intercept

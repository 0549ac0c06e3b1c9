// Platform calls in words, for people: texts, constants by their names, sizes, and what a handle belongs to; no
// address.
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

// By the row's words for its arguments: a domain of constants, a kind of data, "_" where the type tells enough, as for
// those behind the last; "+" stands before what is asked.
CallWords wordsOf(const Row& row, const Raw& arguments, const Names& names);

// What the call gives is called: "service {1}{ of 0}", in braces an argument with what comes before it, or nothing;
// of the name of a service manager its node.
// Empty where the row has no word for it.
std::string resultOf(const Row& row, const Raw& arguments, const Names& names);

} // namespace intercept

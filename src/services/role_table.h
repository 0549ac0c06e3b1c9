// What the product's executables get, per home type: the kind of account, local groups and rights. Read-only data; an
// executable is named by its service key.
#pragma once

#include "keswsec.h"

#include <array>

// Names in fixed slots. An unused slot is NULL and does not end the list.
template <size_t N>
using sswseNameSlots = std::array<const char*, N>;

struct sswseServiceRole
{
    const char* svckey;
    const char* accttype;         // "USER_ACCOUNT": the home's service user; otherwise a built-in account's keyword
    sswseNameSlots<5> groups;     // what the service's SID or account joins
    sswseNameSlots<5> privileges; // rights granted to it
    sswseNameSlots<10> vagroups;  // what it joins when the home runs its services under virtual accounts
};

// The rows of one home type; a row's position is the service index.
struct sswseRoleTable
{
    const sswseServiceRole* rows;
    int count;
};

// The index of a service whose executable has no row.
inline constexpr int sswseNoRole = -1;

// The table of a home type, compared exactly; NULL when it has none, or is NULL.
const sswseRoleTable* sswseRoleTableOf(const char* khtype);

// The row at an index; for sswseNoRole a row without key, groups and rights.
const sswseServiceRole& sswseRoleAt(const sswseRoleTable& table, int index);

// What is behind the home's name in the name of a group of its own, "_DBA" for "KES_HN_DBA"; NULL for a group that all
// homes share.
const char* sswseHomeGroupSuffix(const char* name);

// The suffixes of all groups in the tables that are each home's own, each once.
using sswseHomeGroupSuffixes = sswseNameSlots<16>;
const sswseHomeGroupSuffixes& sswseAllHomeGroupSuffixes();

// Service keys are compared without regard to case.
bool sswseSameServiceKey(const char* left, const char* right);

// Runs `step(name)` for the used slots from first to last. Anything but success ends the walk and becomes
// SSWSE_FAILURE.
template <size_t N, class Step>
[[nodiscard]] DWORD sswseForEachName(const sswseNameSlots<N>& slots, Step step)
{
    for (const char* name : slots)
        if (name && step(name) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
    return SSWSE_SUCCESS;
}

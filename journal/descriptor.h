// Security descriptors between the platform's functions and the texts of a journal.
#pragma once

#include "journal/kinds.h"

#include "whatif/model/kernel_objects.h"
#include "whatif/security/access.h"
#include "whatif/security/descriptors.h"

#include <algorithm>

namespace journal {

// What is read of an object: its group only where the change tells one, since not every platform tells that of an
// object which nobody gave one.
SECURITY_INFORMATION partsToRead(const Change& what);

// `query` fills a buffer and says what is needed: DWORD(BYTE*, DWORD size, DWORD* needed), a Win32 error code.
template <class Query>
Reading readDescriptor(const wchar_t* function, Query query)
{
    std::vector<BYTE> bytes;
    DWORD error = ERROR_SUCCESS;
    DWORD size = 0;
    DWORD needed = 0;
    do {
        size = needed;
        bytes.resize(std::max<size_t>(size, 1)); // the size query, too, must be given an address
        error = query(bytes.data(), size, &needed);
    } while (error == ERROR_INSUFFICIENT_BUFFER && needed > size);
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND || error == ERROR_SERVICE_DOES_NOT_EXIST)
        return {};
    return error ? Reading{{}, problemOf(function, error)}
                 : Reading{State(whatif::textOf(whatif::securityOf(static_cast<PSECURITY_DESCRIPTOR>(bytes.data())))),
                           L""};
}

// What is to be written: owner and group only when they are others.
class Descriptor
{
public:
    Descriptor(const State& found, const State& wanted);

    SECURITY_INFORMATION parts() const { return parts_; }
    DWORD access() const { return whatif::accessToWrite(parts_); }
    PSECURITY_DESCRIPTOR bytes() const { return const_cast<BYTE*>(bytes_.data()); }

private:
    SECURITY_INFORMATION parts_ = DACL_SECURITY_INFORMATION;
    std::vector<BYTE> bytes_;
};

} // namespace journal

#include "whatif/model/sids.h"

#include "frame/owned.h"
#include "whatif/spelling.h"

#include <wincrypt.h>

#include <sddl.h>

#include <array>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace whatif {

namespace {

using Hash = std::array<DWORD, 5>;

// Kept as long as the process lives: each time that one is had and let go, its libraries are loaded and unloaded.
HCRYPTPROV hashProvider()
{
    static const HCRYPTPROV provider = [] {
        HCRYPTPROV made = 0;
        if (!CryptAcquireContextW(&made, nullptr, nullptr, PROV_RSA_FULL, CRYPT_VERIFYCONTEXT | CRYPT_SILENT))
            throw std::runtime_error("SHA-1 is not available");
        return made;
    }();
    return provider;
}

// SHA-1 of the upper-cased UTF-16 text without its terminator.
Hash hashOf(const std::wstring& name)
{
    const std::wstring upper = upperCase(name);
    Hash hash = {};
    DWORD size = sizeof hash;
    HCRYPTHASH state = 0;
    const bool done = CryptCreateHash(hashProvider(), CALG_SHA1, 0, 0, &state) &&
                      CryptHashData(state, reinterpret_cast<const BYTE*>(upper.data()),
                                    static_cast<DWORD>(upper.size() * sizeof(wchar_t)), 0) &&
                      CryptGetHashParam(state, HP_HASHVAL, reinterpret_cast<BYTE*>(hash.data()), &size, 0);
    if (state)
        CryptDestroyHash(state);
    if (!done)
        throw std::runtime_error("SHA-1 failed");
    return hash;
}

std::wstring withWords(std::wstring sid, const Hash& hash, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        sid += L'-' + std::to_wstring(hash[i]);
    return sid;
}

} // namespace

std::wstring sidText(PSID sid)
{
    LPWSTR text = nullptr;
    if (!sid || !IsValidSid(sid) || !ConvertSidToStringSidW(sid, &text))
        return {};
    return owned::Local<wchar_t>(text).get();
}

std::vector<BYTE> sidBytes(const std::wstring& text)
{
    PSID sid = nullptr;
    // The platform would also take the two-letter names of SDDL.
    if (text.compare(0, 2, L"S-") != 0 || !ConvertStringSidToSidW(text.c_str(), &sid))
        return {};
    const owned::Local<void> owner(sid);
    const BYTE* const first = static_cast<const BYTE*>(sid);
    return {first, first + GetLengthSid(sid)};
}

bool isOfDomain(const std::wstring& domainSid, const std::wstring& sid)
{
    return sid.rfind(L'-') == domainSid.size() && sid.compare(0, domainSid.size(), domainSid) == 0;
}

std::wstring serviceSid(const std::wstring& serviceName)
{
    return withWords(L"S-1-5-80", hashOf(serviceName), 5);
}

std::wstring domainSid(const std::wstring& name)
{
    return withWords(L"S-1-5-21", hashOf(name), 3);
}

DWORD domainAccountRid(const std::wstring& name)
{
    return 1100 + hashOf(name)[0] % 1000000;
}

} // namespace whatif

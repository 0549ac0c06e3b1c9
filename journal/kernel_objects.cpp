// The security of kernel objects, and the list that a token gives to new ones.
#include "journal/descriptor.h"

namespace journal {

namespace {

constexpr wchar_t gone[] = L"it has gone, and so has what it was secured with";

class Opened
{
public:
    Opened(const Machine& machine, const Change& what, DWORD access)
        : platform_(machine.platform), handle_(machine.platform.openObject(what.object, access))
    {
        if (!handle_)
            error = GetLastError();
    }
    ~Opened()
    {
        if (handle_)
            platform_.closeObject(handle_);
    }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;

    HANDLE get() const { return handle_; }
    // Nothing has the name, or there is no such process, or another kind of object has the name.
    bool isGone() const
    {
        return error == ERROR_FILE_NOT_FOUND || error == ERROR_INVALID_PARAMETER || error == ERROR_INVALID_HANDLE;
    }
    Reading reading() const { return isGone() ? Reading{{}, gone, true} : Reading{{}, problem()}; }
    std::wstring problem() const { return problemOf(L"opening", error); }

    DWORD error = ERROR_SUCCESS;

private:
    const Platform& platform_;
    HANDLE handle_;
};

bool isToken(const Change& what)
{
    return what.object.compare(0, wcslen(L"token "), L"token ") == 0;
}

Reading readToken(const Machine& machine, const Change& what)
{
    if (what.object == whatif::tokenOfThisProcess && !machine.platform.onNode && !machine.duringCall)
        return {{}, L"it has gone with the process that had it", true};
    const Opened token(machine, what, TOKEN_QUERY);
    if (!token.get())
        return token.reading();
    DWORD size = 0;
    machine.platform.GetTokenInformation(token.get(), TokenDefaultDacl, nullptr, 0, &size);
    std::vector<BYTE> bytes(std::max<size_t>(size, sizeof(TOKEN_DEFAULT_DACL)));
    if (!machine.platform.GetTokenInformation(token.get(), TokenDefaultDacl, bytes.data(), size, &size))
        return {{}, problemOf(L"GetTokenInformation", GetLastError())};
    TOKEN_DEFAULT_DACL held;
    memcpy(&held, bytes.data(), sizeof held);
    return {State(whatif::textOf(whatif::securityOfList(held.DefaultDacl))), L""};
}

std::wstring writeToken(const Machine& machine, const Change& what, PACL dacl)
{
    const Opened token(machine, what, TOKEN_ADJUST_DEFAULT);
    if (!token.get())
        return token.problem();
    TOKEN_DEFAULT_DACL held = {dacl};
    return machine.platform.SetTokenInformation(token.get(), TokenDefaultDacl, &held, sizeof held)
               ? L""
               : problemOf(L"SetTokenInformation", GetLastError());
}

Reading readObject(const Machine& machine, const Change& what)
{
    const Opened object(machine, what, READ_CONTROL);
    if (!object.get())
        return object.reading();
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD error = machine.platform.GetSecurityInfo(object.get(), SE_KERNEL_OBJECT, partsToRead(what), nullptr,
                                                         nullptr, nullptr, nullptr, &descriptor);
    if (error != ERROR_SUCCESS)
        return {{}, problemOf(L"GetSecurityInfo", error)};
    Reading reading = {State(whatif::textOf(whatif::securityOf(descriptor))), L""};
    LocalFree(descriptor);
    return reading;
}

} // namespace

Reading readKernelSecurity(const Machine& machine, const Change& what)
{
    return isToken(what) ? readToken(machine, what) : readObject(machine, what);
}

std::wstring writeKernelSecurity(const Machine& machine, const Change& what, const State& found, const State& wanted)
{
    const Descriptor descriptor(found, wanted);
    BOOL isThere = FALSE;
    BOOL isDefault = FALSE;
    PACL dacl = nullptr;
    GetSecurityDescriptorDacl(descriptor.bytes(), &isThere, &dacl, &isDefault);
    if (isToken(what))
        return writeToken(machine, what, dacl);
    const Opened object(machine, what, WRITE_DAC);
    if (!object.get())
        return object.problem();
    SECURITY_DESCRIPTOR_CONTROL control = 0;
    DWORD revision = 0;
    GetSecurityDescriptorControl(descriptor.bytes(), &control, &revision);
    const SECURITY_INFORMATION parts =
        DACL_SECURITY_INFORMATION | (control & SE_DACL_PROTECTED ? PROTECTED_DACL_SECURITY_INFORMATION : 0);
    const DWORD error =
        machine.platform.SetSecurityInfo(object.get(), SE_KERNEL_OBJECT, parts, nullptr, nullptr, dacl, nullptr);
    return error == ERROR_SUCCESS ? L"" : problemOf(L"SetSecurityInfo", error);
}

} // namespace journal

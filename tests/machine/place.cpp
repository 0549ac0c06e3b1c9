#include "tests/machine/place.h"

#include "cli/invoke.h"
#include "cli/script.h"
#include "cli/text.h"
#include "cli/trace.h"
#include "tests/support/last_words.h"
#include "whatif/model/names.h"
#include "whatif/model/sids.h"
#include "whatif/model/standard_node.h"

#include <lm.h>

#include <fstream>
#include <regex>

namespace machine {

namespace {

std::wstring computerName()
{
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
    return GetComputerNameW(name, &size) ? name : L"";
}

DWORD minimumPasswordLength()
{
    BYTE* block = nullptr;
    DWORD length = 0;
    if (NetUserModalsGet(nullptr, 0, &block) == NERR_Success && block)
        length = reinterpret_cast<const USER_MODALS_INFO_0*>(block)->usrmod0_min_passwd_len;
    NetApiBufferFree(block);
    return length;
}

std::wstring replacedIn(std::wstring text, const std::wstring& from, const std::wstring& to)
{
    for (size_t at = text.find(from); at != std::wstring::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

Words wordsOf(const std::vector<std::wstring>& words)
{
    Words result;
    for (size_t i = 1; i < words.size(); ++i) {
        const size_t equals = words[i].find(L'=');
        if (equals == std::wstring::npos)
            result.given.push_back(words[i]);
        else
            result.named[words[i].substr(0, equals)] = words[i].substr(equals + 1);
    }
    return result;
}

const std::map<std::string, Verb>& verbs()
{
    static const std::map<std::string, Verb> all = [] {
        std::map<std::string, Verb> merged = accountVerbs();
        merged.merge(serviceVerbs());
        merged.merge(securityVerbs());
        return merged;
    }();
    return all;
}

} // namespace

const wchar_t* Words::find(const wchar_t* name) const
{
    const auto found = named.find(name);
    return found == named.end() ? nullptr : found->second.c_str();
}

DWORD Words::number(const wchar_t* name, DWORD otherwise) const
{
    const wchar_t* const text = find(name);
    return text ? wcstoul(text, nullptr, 0) : otherwise;
}

Place::Place(whatif::World* node, HMODULE redirected)
    : node_(node), library_(redirected ? redirected : home_.emplace().module())
{
    if (node && !redirected)
        redirection_.emplace(library_, *node);
    std::filesystem::create_directories(scratch_.path() / "top" / "sub");
    std::ofstream(scratch_.path() / "top" / "sub" / "leaf").put('x');
    names_ = {{computerName(), L"{MACHINE}"}, {scratch_.path() / "top", L"{dir}"}};
    names_.insert(names_.begin(), {whatif::sidText(sidOf(computerName()).data()), L"{sid:MACHINE}"});
    Place& place = *this;
    manager = ON(OpenSCManagerW)(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
}

Place::~Place()
{
    Place& place = *this;
    for (const auto& service : services)
        ON(CloseServiceHandle)(service.second);
    ON(CloseServiceHandle)(manager);
    redirection_.reset();
    if (!node_)
        support::removeLeftovers(support::Whose::ours);
}

std::vector<BYTE> Place::sidOf(const std::wstring& name)
{
    Place& place = *this;
    std::vector<BYTE> sid(SECURITY_MAX_SID_SIZE);
    wchar_t domain[256];
    DWORD sizes[] = {SECURITY_MAX_SID_SIZE, 256};
    SID_NAME_USE use;
    return ON(LookupAccountNameW)(nullptr, name.c_str(), sid.data(), &sizes[0], domain, &sizes[1], &use)
               ? sid
               : whatif::sidBytes(L"S-1-0-0");
}

std::wstring Place::filledIn(std::wstring text)
{
    for (const auto& [real, name] : std::vector(names_.rbegin(), names_.rend()))
        text = replacedIn(text, name, real);
    static const std::wregex own(L"\\{(?:(sid|ssid):)?(\\w+)\\}");
    for (std::wsmatch found; std::regex_search(text, found, own);) {
        const std::wstring name = support::machineName(found[2]);
        std::wstring real = name;
        if (found[1].matched) {
            real = found[1] == L"sid" ? whatif::sidText(sidOf(name).data()) : whatif::serviceSid(name);
            names_.insert(names_.begin(), {real, found[0]});
        }
        text.replace(static_cast<size_t>(found.position()), static_cast<size_t>(found.length()), real);
    }
    return text;
}

std::wstring Place::plain(std::wstring text) const
{
    for (const auto& [real, name] : names_)
        text = replacedIn(text, real, name);
    return std::regex_replace(text, std::wregex(support::machineName(L"(\\w+)")), L"{$1}");
}

std::string Place::answer(const std::string& call)
{
    support::underWay = call;
    std::vector<std::wstring> words;
    for (const std::string& word : cli::splitWords(call))
        words.push_back(filledIn(cli::wideFromUtf8(word)));
    const auto verb = verbs().find(cli::utf8FromWide(words.front()));
    if (verb != verbs().end())
        return cli::utf8FromWide(plain(verb->second(*this, wordsOf(words))));

    std::vector<std::string> texts;
    for (const std::wstring& word : words)
        texts.push_back(cli::utf8FromWide(word));
    cli::Trace trace;
    const cli::Outcome outcome =
        cli::invoke({library_, node_ ? whatif::closeServiceHandle : CloseServiceHandle, &trace}, cli::parseCall(texts));
    return cli::utf8FromWide(plain(cli::wideFromUtf8(support::told(outcome, true))));
}

void describeLikeThisMachine(whatif::World& world)
{
    whatif::World real(whatif::Base::thisMachine);
    const whatif::Node& machine = real.local();
    whatif::Node& node = world.local();
    node.accounts.clear();
    node.groups.clear();
    node.name = machine.name;
    node.sid = machine.sid;
    node.major = machine.major;
    node.minor = machine.minor;
    node.productType = machine.productType;
    node.minimumPasswordLength = minimumPasswordLength();
    whatif::addStandardAccounts(node);
    node.services.emplace_back().name = L"EventLog"; // which every machine has
}

} // namespace machine

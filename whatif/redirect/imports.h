// The import address table of a loaded module: the place where a call of another DLL's function can be redirected.
#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <vector>

namespace whatif {

// One function that stands in for an imported one.
struct Replacement
{
    const char* name; // as imported
    void* function;
};

// One table per area of the platform, each in the file that holds the replacements.
std::vector<Replacement> kernelReplacements();  // version, computer name, run-time loading
std::vector<Replacement> fileReplacements();    // files of nodes
std::vector<Replacement> accountReplacements(); // names and SIDs, logon
std::vector<Replacement> policyReplacements();  // LSA policy: account rights
std::vector<Replacement> groupReplacements();   // local groups
std::vector<Replacement> memberReplacements();  // their members
std::vector<Replacement> userReplacements();    // users, password policy
std::vector<Replacement> serviceReplacements(); // service control manager, services
std::vector<Replacement> serviceListReplacements();
std::vector<Replacement> serviceConfigReplacements();
std::vector<Replacement> serviceSecurityReplacements();
std::vector<Replacement> registryReplacements(); // the registry
std::vector<Replacement> keySecurityReplacements();
std::vector<Replacement> securityReplacements();     // access-control lists by name, object security
std::vector<Replacement> kernelObjectReplacements(); // security of kernel objects, handles
std::vector<Replacement> tokenReplacements();
std::vector<Replacement> authorizationReplacements(); // what others may do with an object

std::vector<Replacement> allReplacements();

// Tells the world of the current Redirection that a replacement function has thrown.
void breakOff() noexcept;

class Imports
{
public:
    explicit Imports(HMODULE module);
    ~Imports(); // puts the original entries back

    // Points the entry of `name` at `function` and returns what it pointed at; NULL when the module does not import it.
    void* redirect(const std::string& name, void* function);
    std::vector<std::string> names() const;

private:
    std::map<std::string, void**> entries_;
    std::map<void**, void*> originals_;
};

} // namespace whatif

// A described node: a text file (INI, read with the platform's own profile functions; UTF-16 or the ANSI code page).
//
//     [node]                             name (15 characters at most), version=10.0, domain, sid,
//                                        product=server (workstation, domain controller),
//                                        minimum password length, next rid, missing=Logoncli.dll,
//                                        standard accounts=yes (what every fresh machine has; "no" starts empty)
//     [users]                            svc=password
//     [domain accounts]                  DOM\svc=password
//     [account kinds]                    DOM\Operators=group
//     [account flags]                    svc=0x10040
//     [managed accounts]                 DOM\gmsa$=5 (the state of the account; 0 without one)
//     [member of]                        DOM\svc=DOM\Operators
//     [groups]                           KES_DBA=comment
//     [members]                          KES_DBA=svc, DOM\Operators, NT SERVICE\KestelDB, S-1-5-21-1-2-3-1104
//     [sids]                             KES_DBA=S-1-5-21-... (of an account or group; made up where it is not given)
//     [rights]                           SeServiceLogonRight=svc
//     [service KestelDB]                 display name, binary path, account, password, load order group, security,
//                                        type, start, error control, tag, sid type, dependencies
//     [registry SOFTWARE\Kestel\KEY_h1]  KESTEL_HOME_TYPE=1, Count=dword:7, Path=expand:%SystemRoot%, @=default value
//     [registry HKU\S-1-5-18\Software]   the same for HKEY_USERS
//     [security]                         file C:\data=D:(A;;GA;;;BA), also of kernel objects, which are there when they
//                                        stand here: event NAME, mutex NAME, semaphore NAME, section NAME, process ID;
//                                        of the token of process ID, what it gives to new objects
//     [drives]                           C=Z:\tmp\node-c (what \\node\C$ stands for; the shares of the local node's
//                                        drives are always there)
#pragma once

#include "whatif/node.h"

#include <filesystem>

namespace whatif {

class Registry;

// Reads a node; its registry is written to `registry`. Throws std::runtime_error naming the file, section and key.
Node readDescription(const std::filesystem::path& file, Registry& registry);

// Writes the node, passwords and registry included, so that reading it gives the same node. Of a node that reads this
// machine it holds what was touched, on top of a fresh machine, and nothing of what was deleted.
void writeDescription(const std::filesystem::path& file, const Node& node, const Registry& registry);

} // namespace whatif

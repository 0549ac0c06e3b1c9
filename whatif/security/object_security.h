// Where the security of files, directories and registry keys comes from and goes to. The node holds that of the
// objects that were described or changed. Another one has what the real machine says or, on a described node, what it
// would have inherited when it was created.
#pragma once

#include "whatif/model/objects.h"
#include "whatif/security/access.h"

namespace whatif {

// The security of the object as it is now; an error when the real machine does not show it.
DWORD readSecurity(const Object& object, Security& security);

// As it is told: with a group. Documented for a new object is the primary group of its creator's token, which of an
// administrator's is that of all users of the account domain.
Security told(const Object& object, const Security& security);

// Whether the real machine decides about access to the object: the node has nothing to say of it.
bool machineDecides(const Object& object);

// Whether the caller gets the access; on an object that only the machine holds the machine decides.
bool callerGets(const Object& object, const Security& before, DWORD access);

// What an object has after a descriptor has been set on it alone. The mark of an inheriting DACL is only taken over
// from a descriptor that asks for it.
Security asWritten(const Security& before, SECURITY_INFORMATION parts, PSECURITY_DESCRIPTOR descriptor,
                   const GENERIC_MAPPING& mapping);

// Puts the security into the node and the change into the plan, unless there is none.
void writeSecurity(World& world, const Object& object, const Security& before, const Security& after);

} // namespace whatif

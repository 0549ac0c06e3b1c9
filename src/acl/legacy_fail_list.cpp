#include "acl/legacy_fail_list.h"

#include "frame/text.h"
#include "frame/trace.h"

namespace {

// NULL when memory is exhausted.
owned::Heap<char> oemName(const wchar_t* path)
{
    owned::Heap<char> name;
    size_t length = 0;
    const bool converted = sswseWideToOem(path, name, &length) == SSWSE_SUCCESS;
    const bool outOfMemory = !name && length != 0;
    if (!converted && !outOfMemory)
        name = owned::allocateZeroed<char>(1);
    return name;
}

} // namespace

sswseFailList::~sswseFailList()
{
    while (first) {
        sswseFailedObject* const object = first;
        first = object->next;
        free(object->name);
        free(object);
    }
}

DWORD sswseLegacyNoMemory(const char* function)
{
    sswseTrace("%s() failed to allocate memory", function);
    return SSWSE_LEGACY_NO_MEMORY;
}

DWORD sswseAddToFailList(sswseFailList& list, const wchar_t* path, const char* function)
{
    owned::Heap<char> name = oemName(path);
    auto* const object = name ? static_cast<sswseFailedObject*>(malloc(sizeof(sswseFailedObject))) : nullptr;
    if (!object)
        return sswseLegacyNoMemory(function);
    *object = {name.release(), nullptr};
    *list.end = object;
    list.end = &object->next;
    ++list.count;
    return SSWSE_LEGACY_INCOMPLETE;
}

char** sswseTakeFailedNames(sswseFailList& list)
{
    auto** const names = static_cast<char**>(malloc(list.count * sizeof(char*)));
    if (!names)
        return nullptr;
    DWORD i = 0;
    for (sswseFailedObject* object = list.first; object; object = object->next) {
        names[i++] = object->name;
        object->name = nullptr;
    }
    return names;
}

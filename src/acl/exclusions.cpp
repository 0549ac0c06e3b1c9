#include "acl/exclusions.h"

#include "frame/call.h"
#include "frame/text.h"

namespace {

bool isSeparator(wchar_t character)
{
    return character == L'\\' || character == L'/';
}

struct Component
{
    const wchar_t* begin;
    int length; // 0 behind the last one
};

// Goes on to the next component of the path, behind the separators at `place`.
Component nextComponent(const wchar_t*& place)
{
    while (isSeparator(*place))
        ++place;
    const wchar_t* const begin = place;
    while (*place && !isSeparator(*place))
        ++place;
    return {begin, static_cast<int>(place - begin)};
}

bool isSame(const Component& one, const Component& other)
{
    return CompareStringOrdinal(one.begin, one.length, other.begin, other.length, TRUE) == CSTR_EQUAL;
}

enum class Relation
{
    elsewhere,
    above, // a directory that the path is in
    same
};

Relation relationTo(const wchar_t* path, const wchar_t* excluded)
{
    for (;;) {
        const Component wanted = nextComponent(excluded);
        const Component found = nextComponent(path);
        if (wanted.length == 0)
            return found.length == 0 ? Relation::same : Relation::above;
        if (!isSame(wanted, found))
            return Relation::elsewhere;
    }
}

bool beginsWithDrive(const wchar_t* path)
{
    return ((path[0] >= L'A' && path[0] <= L'Z') || (path[0] >= L'a' && path[0] <= L'z')) && path[1] == L':';
}

bool isOfServer(const wchar_t* path)
{
    return isSeparator(path[0]) && isSeparator(path[1]);
}

bool isAbsolute(const wchar_t* path)
{
    return isOfServer(path) || beginsWithDrive(path);
}

bool isDots(const Component& component)
{
    return component.begin[0] == L'.' &&
           (component.length == 1 || (component.length == 2 && component.begin[1] == L'.'));
}

bool isWellFormed(const wchar_t* path)
{
    if (!*path || (isSeparator(path[0]) && !isSeparator(path[1])) || (beginsWithDrive(path) && !isSeparator(path[2])))
        return false;
    Component component = nextComponent(path);
    while (component.length > 0 && !isDots(component))
        component = nextComponent(path);
    return component.length == 0;
}

Relation absoluteRelation(const wchar_t* path, const wchar_t* excluded)
{
    return isOfServer(path) == isOfServer(excluded) ? relationTo(path, excluded) : Relation::elsewhere;
}

} // namespace

DWORD sswseReadExclusions(const sswseCall& call, char** list, DWORD count, sswseExclusions& exclusions)
{
    if (!exclusions.paths.reserve(count))
        return sswseOutOfMemory(call);
    for (DWORD i = 0; i < count; ++i) {
        owned::Heap<wchar_t> path;
        const DWORD status = sswseToWide(call, list[i], path);
        if (status != SSWSE_SUCCESS)
            return status;
        if (!isWellFormed(path.get()))
            return sswseBadArgument(call, "excludelist");
        exclusions.paths.entries[exclusions.paths.count++] = path.release();
    }
    return SSWSE_SUCCESS;
}

bool sswseIsStartExcluded(const sswseExclusions& exclusions, const wchar_t* start)
{
    for (DWORD i = 0; i < exclusions.paths.count; ++i) {
        const wchar_t* const excluded = exclusions.paths.entries[i];
        if (isAbsolute(excluded) && absoluteRelation(start, excluded) != Relation::elsewhere)
            return true;
    }
    return false;
}

bool sswseIsExcluded(const sswseExclusions& exclusions, const wchar_t* path, size_t startLength)
{
    for (DWORD i = 0; i < exclusions.paths.count; ++i) {
        const wchar_t* const excluded = exclusions.paths.entries[i];
        if ((isAbsolute(excluded) ? absoluteRelation(path, excluded) : relationTo(path + startLength, excluded)) ==
            Relation::same)
            return true;
    }
    return false;
}

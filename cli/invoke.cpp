#include "cli/invoke.h"

#include "cli/cells.h"
#include "cli/text.h"

#include <utility>

namespace cli {

namespace {

template <size_t>
using Slot = std::uintptr_t;

template <size_t... index>
DWORD callIndexed(const Host& host, const char* name, const Slots& slots, std::index_sequence<index...>)
{
    return static_cast<DWORD>(exported<std::uintptr_t WINAPI(Slot<index>...)>(host, name)(slots[index]...));
}

} // namespace

DWORD callWithSlots(const Host& host, const char* name, const Slots& slots)
{
    return callIndexed(host, name, slots, std::make_index_sequence<mostSlots>());
}

Outcome invoke(const Host& host, const Call& call)
{
    sswseErrRec record = {};
    Slots slots = {};
    if (takesRecord(*call.function))
        slots[0] = reinterpret_cast<std::uintptr_t>(&record);
    const std::vector<Cell> cells = prepareCells(host, call, slots);

    Outcome outcome;
    outcome.status = callWithSlots(host, call.function->name, slots);
    outcome.message = utf8FromAnsi(record.message);
    outcome.osError = utf8FromAnsi(record.oserror);
    outcome.verdict = verdictOf(*call.function, outcome.status, !outcome.message.empty());
    outcome.outputs = readOutputs(call, cells, outcome.verdict.good);
    releaseCells(host, call, cells);
    return outcome;
}

} // namespace cli

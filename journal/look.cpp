#include "journal/look.h"

#include "whatif/encoding.h"

namespace journal {

namespace {

std::wstring shown(const State& state)
{
    const bool isQuoted = state.text.empty() || state.text.front() == L' ' || state.text.back() == L' ';
    return !state.there ? L"nothing" : isQuoted ? L'"' + state.text + L'"' : state.text;
}

// Without the parts that have changes of their own.
State without(const State& state, std::uint64_t taken)
{
    State left = state;
    left.parts.clear();
    for (size_t i = 0; i < state.parts.size(); ++i)
        if (i >= 64 || !(taken >> i & 1))
            left.parts.push_back(state.parts[i]);
    return left;
}

// All that can be said is whether there is somebody to have it.
Look lookUpPassword(const Machine& machine, Look look)
{
    Change whose = look.change;
    whose.kind = whose.kind == whatif::ChangeKind::user ? whose.kind : whatif::ChangeKind::service;
    whose.attribute.clear();
    look.found = kindOf(whose).read(machine, whose).state;
    look.expected = State(State::Parts());
    look.finding = look.found.there ? Finding::never : Finding::different;
    look.problem = L"a password";
    return look;
}

Look lookUpChange(const Machine& machine, const Change& change, const Reading& left, std::uint64_t taken)
{
    Look look;
    look.change = change;
    if (isPassword(change))
        return lookUpPassword(machine, look);
    const Reading now = kindOf(change).read(machine, change);
    look.expected = without(left.problem.empty() ? left.state : change.after, taken);
    look.found = now.state;
    look.problem = now.problem;
    if (!now.problem.empty())
        look.finding = now.never ? Finding::never : Finding::unknown;
    else if (!isSame(look.expected, now.state))
        look.finding = Finding::different;
    return look;
}

} // namespace

Look lookUp(Steps& steps, const Step& step, const Machine& machine)
{
    const Change change = steps.change(step.last);
    Look look = lookUpChange(machine, change, steps.left(step.last), step.taken);
    if (look.finding == Finding::different && step.isUnfinished && isSame(change.before, look.found))
        look.finding = Finding::asLeft;
    return look;
}

std::wstring differenceOf(const State& expected, const State& found)
{
    if (!expected.hasParts && !found.hasParts)
        return L"expected " + shown(expected) + L", found " + shown(found);
    if (!expected.there || !found.there)
        return found.there ? L"it is there" : L"it is not there";
    std::wstring text;
    for (const auto& [name, wanted] : expected.parts) {
        const std::wstring* const part = found.part(name);
        if (!part || *part != wanted)
            text += (text.empty() ? L"" : L"; ") + name + L" " + differenceOf(wanted, part ? State(*part) : State());
    }
    return text;
}

bool finishCall(Writer& writer, const Line& line, Json outcome, const Machine& machine, const Tell& tell)
{
    Machine here = machine;
    here.duringCall = true;
    Steps steps(writer.file(), line, here);
    outcome["sids"] = Json::object();
    for (const auto& [planned, real] : steps.sidsOf(line.begin))
        outcome["sids"][whatif::utf8FromWide(planned)] = whatif::utf8FromWide(real);
    writer.begin(outcome, "differences");
    bool isGood = true;
    Step step;
    bool isMore = steps.next(step);
    Source source(writer.file());
    Items items(source, line);
    Json item;
    for (std::uint32_t ordinal = 0; items.next(item); ++ordinal) {
        Look look;
        if (isMore && step.ordinal == ordinal) {
            if (step.isFinal)
                look = lookUp(steps, step, here);
            else
                look.change = steps.change(step.last);
            isMore = steps.next(step);
            if (look.finding == Finding::different && look.change.kind == whatif::ChangeKind::service &&
                !look.expected.there) {
                look.finding = Finding::unknown;
                look.problem = L"it is there until it has stopped and nobody has it open";
            }
        } else {
            look.change = steps.change({items.offset(), 0, line.begin});
        }
        if (look.finding == Finding::different || look.finding == Finding::unknown) {
            isGood = false;
            Json difference = {{"change", ordinal}};
            if (look.finding == Finding::unknown)
                difference["problem"] = whatif::utf8FromWide(look.problem);
            else
                difference["found"] = jsonOf(look.found);
            writer.add(difference);
        }
        tell(look);
    }
    writer.end();
    return isGood;
}

Counts verify(Steps& steps, const Machine& machine, const std::function<bool(const Look& look)>& tell)
{
    Counts counts;
    for (Step step; steps.next(step);) {
        if (!step.isFinal)
            continue;
        const Look look = lookUp(steps, step, machine);
        for (const auto& [finding, count] : {std::pair(Finding::asLeft, &counts.asLeft),
                                             {Finding::different, &counts.different},
                                             {Finding::unknown, &counts.unknown},
                                             {Finding::never, &counts.never}})
            *count += look.finding == finding;
        if (!tell(look))
            break;
    }
    return counts;
}

} // namespace journal

#include "journal/steps.h"

#include "journal/sorter.h"
#include "whatif/encoding.h"
#include "whatif/spelling.h"

#include <tuple>

namespace journal {

namespace {

using whatif::ChangeKind;

struct Entry
{
    std::uint64_t family = 0; // of the object
    std::uint64_t key = 0;    // and of what is changed of it
    Spot spot;
    std::uint32_t ordinal = 0;
    std::uint32_t life = 0; // of the object: counts how often it has been made or removed
    bool isWhole = false;   // the object itself is made or removed
    bool isThere = false;   // afterwards
    bool isUnfinished = false;
};

bool inOrder(const Entry& a, const Entry& b)
{
    return a.family != b.family ? a.family < b.family : a.spot.change < b.spot.change;
}

// FNV-1a, without regard to case.
std::uint64_t hashOf(std::initializer_list<std::wstring> texts)
{
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const std::wstring& text : texts) {
        for (const wchar_t c : whatif::upperCase(text) + L'\n')
            hash = (hash ^ c) * 0x100000001b3;
    }
    return hash;
}

std::uint64_t keyOf(ChangeKind kind, const Change& change, const std::wstring& attribute)
{
    return hashOf({whatif::wordOf(kind), change.node, change.object, attribute});
}

std::uint64_t familyOf(const Change& change)
{
    return hashOf({change.node, change.object, change.kind == ChangeKind::right ? change.attribute : L""});
}

bool isWhole(const Change& change)
{
    return change.attribute.empty() && (change.kind == ChangeKind::group || change.kind == ChangeKind::user ||
                                        change.kind == ChangeKind::service || change.kind == ChangeKind::registryKey);
}

void replaceSids(std::wstring& text, const Sids& sids)
{
    for (const auto& [planned, real] : sids)
        for (size_t at = text.find(planned); at != std::wstring::npos; at = text.find(planned, at)) {
            const size_t end = at + planned.size();
            const bool isOther = end < text.size() && iswdigit(text[end]);
            if (!isOther)
                text.replace(at, planned.size(), real);
            at += isOther ? planned.size() : real.size();
        }
}

void replaceSids(Change& change, const Sids& sids)
{
    if (sids.empty())
        return;
    replaceSids(change.attribute, sids);
    for (State* const state : {&change.before, &change.after}) {
        replaceSids(state->text, sids);
        for (auto& [name, text] : state->parts)
            replaceSids(text, sids);
    }
}

Reading foundOf(const Json& difference)
{
    return difference.contains("problem") ? Reading{{}, whatif::wideFromUtf8(difference["problem"].get<std::string>())}
                                          : Reading{stateOf(difference.at("found")), L""};
}

} // namespace

struct Steps::Work
{
    using Order = bool (*)(const Entry&, const Entry&);
    using StepOrder = bool (*)(const Step&, const Step&);

    Work(const std::filesystem::path& file, const Machine& where, StepOrder order)
        : machine(where), changes(file), differences(file), entries(inOrder), steps(order)
    {
    }

    // Lines from here on are of this computer, which the machine has been taken for when it is another one.
    void begin(const Line& line, const std::wstring& computer)
    {
        if (computers.empty() || computers.rbegin()->second != computer)
            computers[line.begin] = computer;
    }

    // A change of the computer whose line it is in is one of the machine.
    Change take(const Json& item, std::uint64_t call) const
    {
        Change change = changeOf(item);
        const auto next = computers.upper_bound(call);
        if (next != computers.begin() && whatif::sameName(change.node, std::prev(next)->second))
            change.node = machine.name;
        return change;
    }

    // Accounts that were made: by the SIDs that they were to get and those that they have.
    Sids lookUpSids(const Line& line)
    {
        Sids found;
        Items items(changes, line);
        for (Json item; items.next(item);) {
            const Change change = take(item, line.begin);
            const std::wstring* const planned = isWhole(change) ? change.after.part(L"sid") : nullptr;
            if (!planned)
                continue;
            const Reading now = kindOf(change).read(machine, change);
            const std::wstring* const real = now.state.part(L"sid");
            if (real && *real != *planned)
                found[*planned] = *real;
        }
        return found;
    }

    // `end`: the line that says how the call has ended; NULL when there is none.
    void collect(const Line& line, const Line* end, bool isUnfinished)
    {
        Sids given;
        if (end)
            for (const auto& [planned, real] : end->head.at("sids").items())
                given[whatif::wideFromUtf8(planned)] = whatif::wideFromUtf8(real.get<std::string>());
        else
            given = lookUpSids(line);
        if (!given.empty())
            sids[line.begin] = given;

        Items items(changes, line);
        Items found(differences, end ? *end : Line());
        Json difference;
        bool differs = found.next(difference);
        std::uint32_t ordinal = 0;
        for (Json item; items.next(item); ++ordinal, ++size) {
            Change change = take(item, line.begin);
            check(change);
            replaceSids(change, given);
            Entry entry = {familyOf(change),
                           keyOf(change.kind, change, change.attribute),
                           {items.offset(), 0, line.begin},
                           ordinal,
                           0,
                           isWhole(change),
                           change.after.there,
                           isUnfinished};
            if (differs && difference.at("change").get<std::uint32_t>() == ordinal) {
                entry.spot.difference = found.offset();
                const Reading instead = foundOf(difference);
                const bool isUndone = instead.problem.empty() && isSame(change.before, instead.state);
                entry.isUnfinished = entry.isUnfinished || !instead.problem.empty();
                differs = found.next(difference);
                if (isUndone) // nothing has been changed
                    continue;
            }
            entries.add(entry);
        }
    }

    // What becomes of an object from the change that makes or removes it to the next such change.
    struct Life
    {
        Spot made; // the change that makes it
        bool isMadeHere = false;
        bool isOver = false; // made and removed again
        Spot removed;        // of one that takes the place of another: the change that removes that one
    };

    static std::vector<Life> livesOf(std::vector<Entry>& family)
    {
        std::vector<Life> lives(1); // the first one began before the journal
        Spot removed;
        for (Entry& entry : family) {
            if (entry.isWhole && entry.isThere) {
                lives.push_back({entry.spot, true, false, std::exchange(removed, {})});
            } else if (entry.isWhole) {
                Life& life = lives.back();
                life.isOver = life.isMadeHere;
                removed = life.isMadeHere ? life.removed : entry.spot;
                lives.emplace_back();
            }
            entry.life = static_cast<std::uint32_t>(lives.size() - 1);
        }
        return lives;
    }

    // Everything that was changed of one object.
    void settle(std::vector<Entry> family)
    {
        const std::vector<Life> lives = livesOf(family);
        for (const Entry& entry : family) {
            const Life& life = lives[entry.life];
            if (!entry.isWhole || life.isOver)
                continue;
            Step step = stepOf(entry, lives.size());
            step.removed = life.removed;
            if (entry.isThere)
                step.taken = takenOf(entry, family);
            else if (lives[entry.life - 1].isMadeHere)
                step.first = lives[entry.life - 1].made;
            steps.add(step);
        }
        const auto isLeftOut = [&](const Entry& entry) { return entry.isWhole || lives[entry.life].isOver; };
        family.erase(std::remove_if(family.begin(), family.end(), isLeftOut), family.end());
        std::sort(family.begin(), family.end(), [](const Entry& a, const Entry& b) {
            return std::tie(a.life, a.key, a.spot.change) < std::tie(b.life, b.key, b.spot.change);
        });
        for (auto begin = family.begin(); begin != family.end();) {
            const auto end = std::find_if(begin, family.end(), [&](const Entry& entry) {
                return entry.life != begin->life || entry.key != begin->key;
            });
            auto first = end - 1;
            while (first != begin && follows(*(first - 1), *first))
                --first;
            Step step = stepOf(*(end - 1), lives.size());
            step.first = first->spot;
            step.isBroken = first != begin;
            step.isMadeHere = lives[first->life].isMadeHere;
            steps.add(step);
            begin = end;
        }
    }

    static Step stepOf(const Entry& entry, size_t lives)
    {
        Step step;
        step.last = step.first = entry.spot;
        step.ordinal = entry.ordinal;
        step.isUnfinished = entry.isUnfinished;
        step.isFinal = entry.life + 1 == lives;
        return step;
    }

    // Whether nobody else has been there between two changes.
    bool follows(const Entry& earlier, const Entry& later)
    {
        const Change change = changeAt(earlier.spot);
        const State before = changeAt(later.spot).before;
        if (isSame(change.after, before) || (earlier.isUnfinished && isSame(change.before, before)))
            return true;
        const Reading left = leftBy(earlier.spot);
        return !left.problem.empty() || isSame(left.state, before);
    }

    // The parts of what was made that the journal has changed later.
    std::uint64_t takenOf(const Entry& made, const std::vector<Entry>& family)
    {
        std::uint64_t taken = 0;
        const Change change = changeAt(made.spot);
        for (size_t part = 0; part < change.after.parts.size() && part < 64; ++part) {
            const std::uint64_t key = keyOf(ChangeKind::serviceSetting, change, change.after.parts[part].first);
            const bool is = std::any_of(family.begin(), family.end(), [&](const Entry& entry) {
                return entry.key == key && entry.life == made.life;
            });
            taken |= std::uint64_t{is} << part;
        }
        return taken;
    }

    void settleAll()
    {
        std::vector<Entry> family;
        for (Entry entry; entries.next(entry);) {
            if (!family.empty() && family.front().family != entry.family)
                settle(std::exchange(family, {}));
            family.push_back(entry);
        }
        if (!family.empty())
            settle(std::move(family));
    }

    Change changeAt(const Spot& spot)
    {
        Change change = take(Items::at(changes, spot.change), spot.call);
        const auto known = sids.find(spot.call);
        if (known != sids.end())
            replaceSids(change, known->second);
        return change;
    }

    Reading leftBy(const Spot& spot)
    {
        return spot.difference ? foundOf(Items::at(differences, spot.difference)) : Reading{changeAt(spot).after, L""};
    }

    const Machine& machine;
    Source changes;
    Source differences;
    Sorter<Entry, Order> entries;
    Sorter<Step, StepOrder> steps;
    std::map<std::uint64_t, Sids> sids;
    std::map<std::uint64_t, std::wstring> computers; // from which line on
    size_t torn = 0;
    size_t size = 0;
};

Steps::Steps(const std::filesystem::path& file, const Machine& machine, bool force, bool lastFirst)
try : work_(std::make_unique<Work>(
    file, machine,
    lastFirst ? [](const Step& a, const Step& b) { return a.last.change > b.last.change; }
              : [](const Step& a, const Step& b) { return a.last.change < b.last.change; })) {
    Lines lines(file, machine, force);
    Line line;
    for (bool isMore = lines.next(line); isMore;) {
        if (!line.head.contains("changes")) {
            isMore = lines.next(line);
            continue;
        }
        Line next;
        isMore = lines.next(next);
        const bool isEnd = isMore && next.head.contains("done");
        work_->begin(line, lines.computer());
        work_->collect(line, isEnd ? &next : nullptr, !isEnd);
        line = next;
    }
    work_->torn = lines.torn;
    work_->settleAll();
} catch (const Json::exception&) {
    throw FileError(file, "is damaged");
} catch (const std::logic_error&) {
    throw FileError(file, "is damaged");
}

Steps::Steps(const std::filesystem::path& file, const Line& line, const Machine& machine)
    : work_(std::make_unique<Work>(file, machine,
                                   [](const Step& a, const Step& b) { return a.last.change < b.last.change; }))
{
    work_->collect(line, nullptr, false);
    work_->settleAll();
}

Steps::~Steps() = default;

bool Steps::next(Step& step)
{
    return work_->steps.next(step);
}

Change Steps::change(const Spot& spot)
{
    return work_->changeAt(spot);
}

Reading Steps::left(const Spot& spot)
{
    return work_->leftBy(spot);
}

size_t Steps::torn() const
{
    return work_->torn;
}

size_t Steps::size() const
{
    return work_->size;
}

const Sids& Steps::sidsOf(std::uint64_t call) const
{
    static const Sids none;
    const auto known = work_->sids.find(call);
    return known == work_->sids.end() ? none : known->second;
}

} // namespace journal

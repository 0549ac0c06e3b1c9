#include "journal/undo.h"

#include "whatif/encoding.h"

#include <array>

namespace journal {

namespace {

constexpr size_t mostAtOnce = 64;

// Files of a tree go back in one line of the journal of the undo: they do not depend on each other.
bool isIndependent(const Change& change)
{
    return change.kind == whatif::ChangeKind::security && change.object.compare(0, 5, L"file ") == 0;
}

Undone verdict(Change change, Fate fate, std::wstring reason)
{
    return {std::move(change), fate, std::move(reason)};
}

class Undoing
{
public:
    explicit Undoing(const Undo& undo) : undo_(undo) {}

    std::array<size_t, fateCount> run()
    {
        for (Step step; !isEnough_ && undo_.steps.next(step);)
            take(step);
        flush();
        return counts_;
    }

private:
    void take(const Step& step)
    {
        Undone undone = judge(step);
        const bool isIndependentOne = isIndependent(undone.change);
        if (!isIndependentOne)
            flush();
        if (undone.fate != Fate::back) {
            tell(undone);
            return;
        }
        if (step.isBroken)
            undone.reason = L"it was changed in between; it is again what it was then";
        pending_.push_back(std::move(undone));
        if (!isIndependentOne || pending_.size() == mostAtOnce)
            flush();
    }

    // What is to become of a change; back for what can be tried.
    Undone judge(const Step& step) const
    {
        Steps& steps = undo_.steps;
        Change change = steps.change(step.last);
        const Reading left = steps.left(step.last);
        const State planned = change.before;
        const State made = change.after;
        change.after = step.first.change == step.last.change ? planned : steps.change(step.first).before;
        change.before = left.state;
        if (isPassword(change))
            return step.isMadeHere ? verdict(change, Fate::already, L"")
                                   : verdict(change, Fate::lost, L"nobody can read what it was");
        const Kind& kind = kindOf(change);
        const Reading now = kind.read(undo_.machine, change);
        if (!now.problem.empty() && step.isMadeHere)
            return verdict(change, Fate::already, L"");
        if (!now.problem.empty())
            return verdict(change, now.never ? Fate::already : Fate::failed, now.problem);
        change.before = now.state;
        if (step.removed.change) {
            const Change earlier = steps.change(step.removed);
            const std::wstring reason = kind.lost(undo_.machine, earlier, earlier.before);
            if (!reason.empty())
                return verdict(change, Fate::lost, L"it has taken the place of another one: " + reason);
        }
        const bool isGone = step.isMadeHere && !now.state.there;
        if (isGone || isSame(change.after, now.state))
            return verdict(change, Fate::already, L"");
        const State& expected = left.problem.empty() ? left.state : made;
        const bool isAsLeft = isSame(expected, now.state) || (step.isUnfinished && isSame(planned, now.state));
        if (!isAsLeft && !isBegun(now.state, change.after))
            return verdict(change, Fate::left, differenceOf(expected, now.state));
        const std::wstring content = change.after.there ? L"" : contentBeyond(made, now.state);
        if (!content.empty())
            return verdict(change, Fate::left, L"it has got " + content);
        const std::wstring reason = change.after.there ? kind.lost(undo_.machine, change, change.after) : L"";
        if (!reason.empty())
            return verdict(change, Fate::lost, reason);
        return verdict(change, Fate::back, isAsLeft ? L"" : L"it was there already; it has been completed");
    }

    // Writes what is pending, between the two lines of the journal of the undo.
    void flush()
    {
        if (pending_.empty())
            return;
        Writer* const writer = undo_.writer;
        if (writer) {
            writer->begin({{"undo", undo_.name}}, "changes");
            for (const Undone& undone : pending_)
                writer->add(jsonOf(undone.change));
            writer->end();
        }
        std::vector<Json> differences;
        for (size_t i = 0; i < pending_.size(); ++i) {
            const Reading now = bring(pending_[i]);
            if (pending_[i].fate != Fate::failed)
                continue;
            Json difference = {{"change", i}};
            if (now.problem.empty())
                difference["found"] = jsonOf(now.state);
            else
                difference["problem"] = whatif::utf8FromWide(now.problem);
            differences.push_back(difference);
        }
        if (writer) {
            writer->begin({{"done", ++number_}, {"sids", Json::object()}}, "differences");
            for (const Json& difference : differences)
                writer->add(difference);
            writer->end();
        }
        for (const Undone& undone : std::exchange(pending_, {}))
            tell(undone);
    }

    // A write is believed when it has been read back.
    Reading bring(Undone& undone) const
    {
        const Kind& kind = kindOf(undone.change);
        std::wstring problem = kind.write(undo_.machine, undone.change, undone.change.before, undone.change.after);
        Reading now = kind.read(undo_.machine, undone.change);
        const bool isDone = now.problem.empty() && isSame(undone.change.after, now.state);
        if (problem.empty() && !isDone)
            problem = now.problem.empty() ? differenceOf(undone.change.after, now.state) : now.problem;
        if (!isDone) {
            undone.fate = Fate::failed;
            undone.reason = problem;
        } else if (!undone.reason.empty()) {
            undone.fate = Fate::left;
        }
        return now;
    }

    void tell(const Undone& undone)
    {
        ++counts_[static_cast<size_t>(undone.fate)];
        if (!undo_.tell(undone))
            isEnough_ = true;
    }

    const Undo& undo_;
    std::vector<Undone> pending_;
    std::array<size_t, fateCount> counts_ = {};
    size_t number_ = 0;
    bool isEnough_ = false;
};

} // namespace

const char* wordOf(Fate fate)
{
    constexpr const char* words[] = {"back", "already", "left", "lost", "failed"};
    return words[static_cast<size_t>(fate)];
}

std::array<size_t, fateCount> undo(const Undo& undo)
{
    return Undoing(undo).run();
}

} // namespace journal

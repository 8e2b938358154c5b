#include "tests/soak/MarkerAccount.h"

#include <algorithm>
#include <iterator>

namespace corvane::soak {

namespace {

/// How long a marker may be on its way on a machine that is busy: its two messages leave 40 and 130 ms after
/// the window has said so.
constexpr double travel = 1.5;

constexpr std::size_t faultsListed = 20;

} // namespace

MarkerAccount::MarkerAccount(const std::filesystem::path &savedNames)
    : saved(savedNames, std::ios::trunc), savedPath(savedNames) {}

void MarkerAccount::added(const std::string &name, Time now) {
    ++bill.added;
    lastAdded = name;
    onTheirWay.emplace(name, now);
}

void MarkerAccount::recorderLeaves(Time now) {
    if (there)
        leftAt = now;
    there = false;
}

void MarkerAccount::recorderListens(Time now) {
    if (!there)
        absences.emplace_back(leftAt, now);
    there = true;
}

bool MarkerAccount::isNearAbsence(Time moment, Time now) const {
    const auto touches = [&](const std::pair<Time, Time> &absence) {
        return moment + travel >= absence.first && moment <= absence.second;
    };
    return std::any_of(absences.begin(), absences.end(), touches) || (!there && touches({leftAt, now}));
}

void MarkerAccount::heard(const std::string &line) {
    constexpr std::string_view naming = "marker is called ";
    constexpr std::string_view noMark = "no marker under the playhead to be called ";
    if (line == "marker")
        open.push_back({{"mark" + std::to_string(++marksOfThisRun)}, std::nullopt});
    else if (line.starts_with(naming))
        name(line.substr(naming.size()));
    else if (line.starts_with(noMark))
        findNoMark(line.substr(noMark.size()));
    else if (line == "saved")
        save();
    else if (line.starts_with("opened ") || line.starts_with("created "))
        forget();
}

/// A name goes to the mark that was dropped last, in whatever run of the recorder: its playhead stands still.
void MarkerAccount::name(const std::string &marker) {
    arrive(marker);
    if (open.empty()) {
        bill.faults.push_back("the recorder named a mark that it cannot have: " + marker);
        return;
    }
    Naming &last = open.back().now;
    last = {marker, last.names + 1};
}

void MarkerAccount::findNoMark(const std::string &marker) {
    arrive(marker);
    ++bill.markless;
    if (!open.empty())
        bill.faults.push_back("the recorder had a mark, and found none to be called " + marker);
}

void MarkerAccount::arrive(const std::string &marker) {
    const auto [first, last] = onTheirWay.equal_range(marker);
    if (first == last) {
        bill.faults.push_back("the recorder got a marker that was not sent, or got it twice: " + marker);
        return;
    }
    const auto found = std::prev(last); // what was sent before it is lost
    if (marksOfThisRun == 0) {
        ++bill.halved;
        if (!isNearAbsence(found->second, found->second))
            bill.faults.push_back("named without having been dropped: " + marker);
    }
    onTheirWay.erase(found);
}

void MarkerAccount::save() {
    for (Mark &mark : open)
        mark.saved = mark.now;
    if (open.size() > 1)
        file(open.size() - 1);
}

/// A new run of the recorder knows what the last one had saved.
void MarkerAccount::forget() {
    std::optional<Naming> last;
    if (!open.empty() && open.front().saved) {
        last = open.front().saved;
        bill.withoutSaving += open.front().now.names - last->names;
        open.erase(open.begin());
    }
    file(open.size());
    if (last)
        open.push_back({*last, last});
    marksOfThisRun = 0;
}

/// So many marks are what they will be in the session.
void MarkerAccount::file(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const Mark &mark = open[i];
        const Naming inSession = mark.saved.value_or(Naming{});
        if (mark.saved)
            saved << inSession.name << '\n';
        bill.withoutSaving += mark.now.names - inSession.names;
        if (inSession.names > 0) {
            ++bill.inSession;
            bill.overtaken += inSession.names - 1;
        }
    }
    open.erase(open.begin(), open.begin() + static_cast<std::ptrdiff_t>(count));
}

MarkerAccount::Bill MarkerAccount::settle(const std::vector<std::string> &inFile, Time now) {
    for (const auto &[name, time] : onTheirWay) {
        if (isNearAbsence(time, now))
            ++bill.whileAway;
        else
            bill.faults.push_back("lost while the recorder listened: " + name + " at " +
                                  std::to_string(time) + " s");
    }
    file(open.size());
    saved.flush();
    std::ifstream expected(savedPath);
    std::size_t position = 0;
    for (std::string name; std::getline(expected, name); ++position)
        if (position >= inFile.size() || inFile[position] != name)
            bill.faults.push_back("mark " + std::to_string(position + 1) + " of the session is " +
                                  (position < inFile.size() ? inFile[position] : "missing") + " instead of " +
                                  name);
    if (position < inFile.size())
        bill.faults.push_back("the session has " + std::to_string(inFile.size() - position) +
                              " marks too many");
    const auto accounted =
        bill.inSession + bill.whileAway + bill.withoutSaving + bill.markless + bill.overtaken;
    if (accounted != bill.added)
        bill.faults.push_back(std::to_string(bill.added) + " markers were added and " +
                              std::to_string(accounted) + " are accounted for");
    if (bill.faults.size() > faultsListed)
        bill.faults.resize(faultsListed);
    return bill;
}

} // namespace corvane::soak

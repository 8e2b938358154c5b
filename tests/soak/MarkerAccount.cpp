#include "tests/soak/MarkerAccount.h"

#include <algorithm>

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
    if (line == "marker")
        open.push_back({"mark" + std::to_string(++marksOfThisRun), false, std::nullopt, false});
    else if (line.starts_with(naming))
        name(line.substr(naming.size()));
    else if (line == "saved")
        save();
    else if (line.starts_with("opened ") || line.starts_with("created "))
        forget();
}

/// A name goes to the mark that was dropped last, saved or not, as the recorder does it.
void MarkerAccount::name(const std::string &marker) {
    const auto found = onTheirWay.find(marker);
    if (found == onTheirWay.end())
        bill.faults.push_back("the recorder got a marker that was not sent, or got it twice: " + marker);
    else
        onTheirWay.erase(found);
    if (open.empty()) {
        ++bill.markless;
        return;
    }
    Mark &last = open.back();
    bill.overtaken += last.isNamed ? 1 : 0;
    last.name = marker;
    last.isNamed = true;
}

void MarkerAccount::save() {
    for (Mark &mark : open) {
        mark.savedName = mark.name;
        mark.isSavedNamed = mark.isNamed;
    }
    if (open.size() > 1)
        file(open.size() - 1);
}

/// A new run of the recorder knows nothing of what the last one had not saved.
void MarkerAccount::forget() {
    file(open.size());
    marksOfThisRun = 0;
}

/// So many marks are what they will be in the session.
void MarkerAccount::file(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const Mark &mark = open[i];
        if (mark.savedName)
            saved << *mark.savedName << '\n';
        bill.inSession += mark.isSavedNamed && mark.savedName == mark.name ? 1 : 0;
        bill.withoutSaving += mark.isNamed && mark.savedName != mark.name ? 1 : 0;
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

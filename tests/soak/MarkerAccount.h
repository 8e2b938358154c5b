#pragma once

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvane::soak {

/// What became of every marker that the window said it had added. Fed with what the window says, with the
/// recorder's own log and with when the recorder was away; at the end compared with the session on disk.
/// Names that a show has used up are kept in a file, so that the account itself does not grow.
class MarkerAccount {
public:
    /// Seconds since the start of the show.
    using Time = double;

    explicit MarkerAccount(const std::filesystem::path &savedNames);

    /// The window said that it has added a marker.
    void added(const std::string &name, Time now);
    /// The recorder is about to end, or has ended,
    void recorderLeaves(Time now);
    /// and listens again.
    void recorderListens(Time now);
    /// One line of the recorder's log.
    void heard(const std::string &line);

    bool isRecorderThere() const { return there; }
    /// Whether a moment lies within an absence of the recorder, or so close to one that it may.
    bool isNearAbsence(Time moment, Time now) const;
    /// Whether the marker added last has not come to the recorder yet.
    bool isLastOutstanding() const { return onTheirWay.contains(lastAdded); }

    /// The bill: counts that add up, and each fault found, empty when there is none.
    struct Bill {
        std::size_t added = 0;         ///< said by the window
        std::size_t inSession = 0;     ///< in the session file by their names
        std::size_t whileAway = 0;     ///< sent while the recorder was down, not received
        std::size_t withoutSaving = 0; ///< received by a recorder that was ended before it saved again
        /// Named anew, by a recall less than 90 ms later or by one whose first half the recorder missed.
        std::size_t overtaken = 0;
        std::size_t markless = 0; ///< their first half was missed, and there was no mark to name instead
        std::size_t halved = 0;   ///< their first half was missed, whatever they named
        std::vector<std::string> faults;
    };
    /// `inFile`: the names of the marks in the session file, in order.
    Bill settle(const std::vector<std::string> &inFile, Time now);

private:
    void name(const std::string &marker);
    void findNoMark(const std::string &marker);
    void arrive(const std::string &marker);
    void save();
    void forget();
    void file(std::size_t count);

    std::ofstream saved; ///< the names that the session file must hold, one a line
    std::filesystem::path savedPath;
    std::multimap<std::string, Time> onTheirWay; ///< or lost
    std::string lastAdded;
    std::vector<std::pair<Time, Time>> absences;
    bool there = false;
    Time leftAt = 0;

    // The recorder's memory, by its log
    struct Naming {
        std::string name;
        std::size_t names = 0; ///< that the mark was given, of which the last one stands
    };
    struct Mark {
        Naming now;
        std::optional<Naming> saved;
    };
    /// Those not saved yet, and before them the last one that is: a name may still come for it, in this run
    /// of the recorder or in another one that missed the first half.
    std::vector<Mark> open;
    std::size_t marksOfThisRun = 0;
    Bill bill;
};

} // namespace corvane::soak

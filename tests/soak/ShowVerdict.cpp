// How a show went.

#include "tests/soak/Show.h"

#include "livetrax/session/LiveTraxGenerator.h"

#include <iomanip>
#include <iostream>

namespace corvane::soak {

namespace {

constexpr double betweenSamples = 0.25;
/// What may be held more at the end than early on. The heap is counted exactly; resident memory also holds
/// what allocators and sanitizers keep for later.
constexpr std::size_t heapBound = 1U << 20U;
constexpr std::size_t residentBound = 64U << 20U;
constexpr std::size_t descriptorBound = 2;
constexpr std::size_t fewestSamples = 16;

void row(const char *what, std::size_t count) {
    std::cout << "  " << std::left << std::setw(58) << what << std::right << std::setw(9) << count << '\n';
}

} // namespace

void Show::sample() {
    if (now() < nextSample)
        return;
    nextSample = now() + betweenSamples;
    samples.push_back(usageNow());
}

void Show::verifyEnd() {
    const auto session = *controller->activeSessionURL;
    const auto marks = Recorder::marksIn(LiveTraxGenerator::sessionFile(session));
    const auto bill = account.settle(marks, now());
    for (const std::string &each : bill.faults)
        fault(each);
    for (const std::string &each : desk.complaints())
        fault(each);
    if (LiveTraxGenerator::sessionPatchSignature(session) !=
        LiveTraxGenerator::patchSignature(desk.channels()))
        fault("the session has another patch than the console");
    if (view.button != greenLook)
        fault("the button is not green at the end");
    if (bill.inSession == 0 || counts.syncs == 0 || counts.restarts == 0 || counts.troubles == 0)
        fault("not enough has happened");
    printBill(bill);
    verifyUsage();
}

void Show::verifyUsage() {
    const std::size_t quarter = samples.size() / 4;
    if (samples.size() < fewestSamples)
        return fault("too few samples");
    const Usage early = leastOf(samples, quarter, 2 * quarter);
    const Usage late = leastOf(samples, samples.size() - quarter, samples.size());
    std::cout << "held at least, in the second and in the last quarter\n";
    const auto compare = [this](const char *what, std::size_t before, std::size_t after, std::size_t bound,
                                std::size_t unit) {
        std::cout << "  " << std::left << std::setw(30) << what << std::right << std::setw(12)
                  << before / unit << std::setw(12) << after / unit << "   bound +" << bound / unit << '\n';
        if (after > before + bound)
            fault(std::string(what) + " grew from " + std::to_string(before) + " to " +
                  std::to_string(after));
    };
    compare("heap, KB", early.heap, late.heap, heapBound, 1024);
    compare("resident memory, KB", early.resident, late.resident, residentBound, 1024);
    compare("descriptors", early.descriptors, late.descriptors, descriptorBound, 1);
}

void Show::printBill(const MarkerAccount::Bill &bill) const {
    std::cout << "seed " << options.seed << ", " << options.seconds << " s of show; main queue held at most "
              << std::llround(longestWait * 1000) << " ms\n";
    row("colours sent", counts.colours);
    row("patch changes", counts.patches);
    row("patches and colours shown", view.reloads);
    row("troubles (drops, resets, console restarts, trickles)", counts.troubles);
    row("links accepted", counts.links);
    row("recorder restarts", counts.restarts);
    row("recorder starts, those of syncs included", recorder.starts());
    row("sessions updated", counts.syncs);
    row("syncs cancelled", counts.cancelled);
    row("scenes recalled", counts.recalled);
    row("  of which while the link was down or cut", counts.cutOff);
    row("scenes shown, repeats after reconnects included", counts.shown);
    row("  due for a marker while the recorder was away", counts.unmarkedWhileAway);
    row("markers added", bill.added);
    row("  in the session by their names", bill.inSession);
    row("  sent while the recorder was down", bill.whileAway);
    row("  in a recorder that was ended before it saved again", bill.withoutSaving);
    row("  named anew: recalled less than 90 ms later, or half missed", bill.overtaken);
    row("  half missed, and no mark there to name", bill.markless);
    row("of all of them, the recorder missed the first half of", bill.halved);
}

} // namespace corvane::soak

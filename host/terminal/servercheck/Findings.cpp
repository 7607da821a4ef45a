#include "host/terminal/servercheck/Findings.h"

#include <algorithm>

namespace velmora {

namespace {

constexpr const char* kNames[kCheckCount] = {"address", "answers", "segments", "silence", "line ends", "text", "size",
                                             "routes",  "labels",  "refresh",  "numbers", "times",     "set"};

constexpr FindingRow kRows[] = {
    {Finding::addressRefuses, Check::address, false, "address-refuses",
     "the plugin loses time with it whenever it connects, and goes on to the next"},
    {Finding::announcedAnew, Check::address, false, "announced-anew",
     "each time the plugin drops its connection and makes another"},
    {Finding::oneClient, Check::address, true, "one-client",
     "the plugin connects anew while the old connection may still be there, and several hosts may be connected"},
    {Finding::noAnswer, Check::answers, true, "no-answer",
     "the plugin waits for ten seconds, its host with it, and closes the connection"},
    {Finding::closedInstead, Check::answers, true, "closed-instead",
     "the plugin has no answer, and no connection until the server is announced anew"},
    {Finding::brokenInstead, Check::answers, true, "reset",
     "the plugin has no answer, and no connection until the server is announced anew"},
    {Finding::closedDuring, Check::answers, true, "closed-during", "the plugin may take a part for the whole reply"},
    {Finding::closedAfter, Check::answers, true, "closed-after",
     "the plugin makes no other until the server is announced anew"},
    {Finding::twoReplies, Check::segments, true, "two-replies",
     "the plugin takes all that one read brings for one reply"},
    {Finding::inPieces, Check::segments, true, "in-pieces",
     "the plugin takes the first piece for the reply, and the rest for the reply to its next command"},
    {Finding::tooLong, Check::segments, true, "too-long",
     "the plugin takes the first 2,048 bytes, and the rest for the reply to its next command"},
    {Finding::longReply, Check::segments, false, "long-reply",
     "on a real network it may need two segments, of which the plugin takes the first for the reply"},
    {Finding::unasked, Check::silence, true, "unasked", "the plugin takes it for the reply to its next command"},
    {Finding::endless, Check::silence, true, "endless", "the plugin takes it for replies"},
    {Finding::noLineEnds, Check::lineEnds, false, "no-line-ends",
     "the plugin accepts that, but cannot tell a part of a reply from a whole one"},
    {Finding::someLineEnds, Check::lineEnds, true, "some-line-ends",
     "the plugin tells its host that a reply without one may be a part"},
    {Finding::manyLineEnds, Check::lineEnds, false, "different-line-ends", "the plugin accepts that"},
    {Finding::notUtf8, Check::text, true, "not-utf8", "the plugin has no text then: \"(null)\", or input 1"},
    {Finding::controlInside, Check::text, true, "control-characters", "the plugin hands them on to its host"},
    {Finding::controlAround, Check::text, false, "control-characters-around", "the plugin cuts them off"},
    {Finding::wrongSize, Check::size, true, "wrong-size",
     "the plugin needs INPUTSxOUTPUTS, such as 16x8, and stays without attributes"},
    {Finding::looseSize, Check::size, false, "loose-size", "the plugin reads it all the same; INPUTSxOUTPUTS is meant"},
    {Finding::noMatrix, Check::size, true, "no-matrix",
     "there is nothing to route, and the plugin stays without attributes"},
    {Finding::beyondSize, Check::size, true, "beyond-size", "the plugin believes no more than 65,536 of each"},
    {Finding::beyondDigits, Check::size, false, "beyond-digits",
     "the plugin reads four digits of a value, so inputs above 9999 cannot be set"},
    {Finding::sizeChanges, Check::size, true, "size-changes",
     "the plugin asks once a connection; values and outputs come and go with it"},
    {Finding::wrongRoute, Check::routes, true, "wrong-route",
     "the plugin needs OUTPUT INPUT, such as 3 5, and reads a wrong input, or input 1"},
    {Finding::refusedLabel, Check::labels, true, "refused-label", "the plugin takes that for the label"},
    {Finding::noLabel, Check::labels, false, "no-label", "the plugin shows the number alone"},
    {Finding::sameLabels, Check::labels, false, "same-labels", "people cannot tell them apart but by number"},
    {Finding::refusedRefresh, Check::refresh, false, "refused-refresh", "the plugin does not look at the reply"},
    {Finding::emptyRefresh, Check::refresh, false, "empty-refresh", "the plugin does not look at the reply"},
    {Finding::strangerUnanswered, Check::numbers, true, "unknown-number-unanswered",
     "an output or a default input that the settings have too many makes the plugin ask this"},
    {Finding::strangerAccepted, Check::numbers, false, "unknown-number-accepted",
     "the plugin takes it for an answer; ERROR would tell that there is no such number"},
    {Finding::slow, Check::times, true, "slow", "the plugin blocks its host for that long"},
    {Finding::longRebuild, Check::times, false, "long-rebuild", "the plugin blocks its host for that long"},
    {Finding::hostBlocked, Check::times, true, "host-blocked", "the plugin blocks its host for that long"},
    {Finding::setWithoutRoute, Check::set, true, "set-without-route", "so nothing was set"},
    {Finding::setUnconfirmed, Check::set, true, "set-unconfirmed",
     "the plugin sends SET once and tells its host that there was no proper answer"},
    {Finding::setIgnored, Check::set, true, "set-ignored", "a host sees the route that it did not ask for"},
    {Finding::setLeft, Check::set, true, "set-left", "set it by hand"},
};

}  // namespace

const char* nameOf(Check check) {
    return kNames[static_cast<int>(check)];
}

const FindingRow& rowOf(Finding finding) {
    return *std::ranges::find(kRows, finding, &FindingRow::finding);
}

std::string Findings::Entry::text() const {
    const std::string often = times > 1 ? " (" + std::to_string(times) + " times)" : "";
    return what + often + "; " + row->consequence;
}

void Findings::note(Finding finding, const std::string& what) {
    const auto known = std::ranges::find(entries_, finding, [](const Entry& entry) { return entry.row->finding; });
    if (known != entries_.end()) {
        ++known->times;
    } else {
        entries_.push_back({&rowOf(finding), what, 1});
    }
}

bool Findings::has(Finding finding) const {
    return std::ranges::any_of(entries_, [&](const Entry& entry) { return entry.row->finding == finding; });
}

bool Findings::hasAny(Check check) const {
    return std::ranges::any_of(entries_, [&](const Entry& entry) { return entry.row->check == check; });
}

std::size_t Findings::problems() const {
    return static_cast<std::size_t>(
        std::ranges::count_if(entries_, [](const Entry& entry) { return entry.row->isProblem; }));
}

std::vector<Findings::Entry> Findings::of(Check check) const {
    std::vector<Entry> found;
    std::ranges::copy_if(entries_, std::back_inserter(found),
                         [&](const Entry& entry) { return entry.row->check == check; });
    return found;
}

const Findings::Entry* Findings::firstProblem() const {
    const auto found = std::ranges::find_if(entries_, [](const Entry& entry) { return entry.row->isProblem; });
    return found != entries_.end() ? &*found : nullptr;
}

}  // namespace velmora

// The part of a check that changes a route, and puts it back.
#include <algorithm>

#include "host/terminal/SwitchSocket.h"
#include "host/terminal/servercheck/ServerCheck.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

// To change a route, and again to put it back, whatever time the check had. It is on air.
constexpr Seconds kRestoreTime{10};
constexpr int kAttempts = 3;

std::string numberText(std::int64_t number) {
    return std::to_string(number);
}

}  // namespace

std::int64_t ServerCheck::inputFor(std::int64_t output) {
    askRefresh(false);
    return askRoute(output, true).value_or(0);
}

// The input that the output has afterwards; 0 when that is not known.
std::int64_t ServerCheck::set(std::int64_t output, std::int64_t input) {
    const std::string command = "SET " + numberText(output) + ' ' + numberText(input);
    const std::size_t answered = wire_.answered();
    const auto text = wire_.ask(Word::set, command, true);
    if (text && (text->empty() || text->starts_with(kRefusalOfServer)))
        findings_.note(Finding::setUnconfirmed, command + " was answered " + quotedText(*text));
    const std::int64_t now = wire_.answered() > answered ? inputFor(output) : 0;
    if (now != 0 && now != input)
        findings_.note(Finding::setIgnored, "after " + command + " the output has input " + numberText(now));
    return now;
}

void ServerCheck::putBack(std::int64_t output, std::int64_t input) {
    wire_.setEnd(std::max(end_, fromNow(kRestoreTime)));
    for (int attempt = 0; attempt < kAttempts && !wire_.isOver(); ++attempt) {
        wire_.beginAnew();
        if (set(output, input) == input) return;
        (void)wire_.connect();  // the next attempt tells what is wrong
    }
    findings_.note(Finding::setLeft, "output " + numberText(output) + " had input " + numberText(input) +
                                         " before, and the server does not say that it has it again");
}

void ServerCheck::trySet(std::int64_t output) {
    if (wire_.isOver()) return leaveOut("SET: " + wire_.reason());
    if (!size_) return leaveOut("SET: the plugin does not accept the size");
    if (output > static_cast<std::int64_t>(size_->outputs)) {
        return findings_.note(Finding::setWithoutRoute, "there is no output " + numberText(output));
    }
    const std::int64_t input = inputFor(output);
    if (input == 0) return leaveOut("SET: the input of output " + numberText(output) + " is not known");
    const std::int64_t same = set(output, input);
    if (same == 0) return leaveOut("setting another input: it is not known what became of the first SET");
    if (same != input) return putBack(output, input);
    setText_ = "output " + numberText(output) + " was set to input " + numberText(input) + ", which it had";
    if (size_->inputs < 2) return;
    const std::int64_t other = input < static_cast<std::int64_t>(size_->inputs) ? input + 1 : input - 1;
    wire_.setEnd(std::max(end_, fromNow(kRestoreTime)));
    (void)set(output, other);  // whatever came of it
    putBack(output, input);
    setText_ += ", to input " + numberText(other) + ", and back";
}

}  // namespace velmora

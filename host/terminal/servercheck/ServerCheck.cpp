#include "host/terminal/servercheck/ServerCheck.h"

#include <algorithm>

#include "host/Quotes.h"
#include "host/terminal/SwitchSocket.h"
#include "host/terminal/servercheck/Replies.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

// As the plugin reads them.
constexpr std::size_t kMostInputsOrOutputs = 65536;
constexpr std::size_t kMostInputsInValues = 9999;
// The labels of the default input and of the input now, and the route with its REFRESH.
constexpr int kRepliesBesideLabels = 4;

std::string sizeTextOf(const MatrixSize& size) {
    return counted(size.inputs, "input") + " and " + counted(size.outputs, "output");
}

}  // namespace

ServerCheck::ServerCheck(const std::vector<SocketAddress>& addresses, Date end, CheckLimits limits)
    : addresses_(addresses), end_(end), limits_(limits), wire_(addresses, end, limits, findings_, times_) {}

Result<void> ServerCheck::run(int times) {
    for (int time = 0; time < times; ++time) {
        const auto connected = wire_.connect();
        if (!connected && time == 0) return connected;
        if (wire_.isOver()) {
            leaveOut(std::to_string(times - time) + " of " + std::to_string(times) + " rounds: " + wire_.reason());
            break;
        }
        if (!connected) findings_.note(Finding::oneClient, "a connection after others: " + connected.failure().reason);
        if (connected) once();
    }
    finish();
    return {};
}

// A little of everything first, so that a server with much to say is known in short time. The plugin, too, asks for
// routes before it asks for the size.
void ServerCheck::once() {
    wire_.listen();
    askRefresh(true);
    askRoute(1, true);
    if (wire_.answered() == 0 && findings_.has(Finding::noAnswer))
        return leaveOut("everything else: nothing was ever answered");
    const bool hasSize = askSize();
    if (wire_.isOver()) return leaveOut("the rest of a round: " + wire_.reason());
    if (!hasSize) return leaveOut("everything else: without a size the plugin has no values to offer");
    askLabel(Word::inputLabel, 1, true);
    askLabel(Word::outputLabel, 1, true);
    askBesides();
    wire_.tryOtherAddresses();
    askAll();
    askStrangers();
    wire_.listen();
}

bool ServerCheck::askSize() {
    const std::size_t answered = wire_.answered();
    if (const auto text = wire_.ask(Word::matrixSize, "MATRIXSIZE", true)) takeSize(*text);
    return wire_.answered() > answered;
}

void ServerCheck::takeSize(const std::string& text) {
    const auto read = sizeInReply(text);
    const bool isFirst = sizeText_.empty();
    if (!isFirst && text != sizeText_)
        findings_.note(Finding::sizeChanges, "MATRIXSIZE was answered " + quotedText(sizeText_) +
                                                 " on one connection and " + quotedText(text) + " on another");
    if (!isFirst) return;
    sizeText_ = text;
    const std::string what = "MATRIXSIZE was answered " + quotedText(text);
    if (!read) return findings_.note(Finding::wrongSize, what);
    const MatrixSize size = read->size;
    if (size.inputs == 0 || size.outputs == 0) return findings_.note(Finding::noMatrix, what);
    if (size.inputs > kMostInputsOrOutputs || size.outputs > kMostInputsOrOutputs)
        return findings_.note(Finding::beyondSize, what);
    if (!read->isStrict) findings_.note(Finding::looseSize, what);
    if (size.inputs > kMostInputsInValues) findings_.note(Finding::beyondDigits, what);
    size_ = size;
}

void ServerCheck::askLabel(Word word, std::size_t number, bool listens) {
    const std::string command = (word == Word::inputLabel ? "INPUTLABEL " : "OUTPUTLABEL ") + std::to_string(number);
    const auto text = wire_.ask(word, command, listens);
    if (!text) return;
    if (text->empty()) return findings_.note(Finding::noLabel, command + " was answered by an empty label");
    if (text->starts_with(kRefusalOfServer))
        return findings_.note(Finding::refusedLabel, command + " was answered " + quotedText(*text));
    Labels& labels = labelsOf(word);
    if (labels.numbers.empty()) labels.first = *text;
    labels.numbers.insert(number);
    labels.areSame = labels.areSame && (number == 1 || *text == labels.first);
}

void ServerCheck::askRefresh(bool listens) {
    const auto text = wire_.ask(Word::refresh, "REFRESH", listens);
    if (!text) return;
    if (text->empty()) {
        findings_.note(Finding::emptyRefresh, "REFRESH was answered by an empty line");
    } else if (text->starts_with(kRefusalOfServer)) {
        findings_.note(Finding::refusedRefresh, "REFRESH was answered " + quotedText(*text));
    } else {
        refreshText_ = *text;
    }
}

std::optional<std::int64_t> ServerCheck::askRoute(std::int64_t output, bool listens) {
    const std::string command = "GET " + std::to_string(output);
    const auto text = wire_.ask(Word::get, command, listens);
    if (!text) return std::nullopt;
    const auto input = inputInReply(*text, output, size_ ? size_->inputs : 0);
    if (input) {
        ++routes_;
        return *input;
    }
    findings_.note(Finding::wrongRoute, command + " was answered " + quotedText(*text) + ", " + input.failure().reason);
    return std::nullopt;
}

// A second connection beside the first, which stays open.
void ServerCheck::askBesides() {
    if (wire_.hasGivenUp(Word::matrixSize) || wire_.isOver()) return;
    Interrogation other({wire_.address()}, end_, limits_, findings_, times_);
    const auto connected = other.connect();
    other.listen();
    const auto text = connected ? other.ask(Word::matrixSize, "MATRIXSIZE", true) : std::nullopt;
    if (other.answered() == 0 && !wire_.isOver()) {
        const std::string reason = connected ? "it was not answered" : connected.failure().reason;
        return findings_.note(Finding::oneClient, "a second connection beside the first: " + reason);
    }
    if (text) takeSize(*text);
    isBesidesTried_ = other.answered() > 0;
}

void ServerCheck::askAll() {
    if (!size_) return leaveOut("all numbers but 1: the plugin does not accept the size");
    const auto each = [this](std::size_t first, std::size_t count, const char* what, const auto& ask) {
        for (std::size_t number = first; number <= count; ++number) {
            if (!wire_.isOver() && ask(number)) continue;
            leaveOut(std::string(what) + (number < count ? "s " + std::to_string(number) + " to " : " ") +
                     std::to_string(count) + (wire_.isOver() ? ": " + wire_.reason() : ": see above"));
            return;
        }
    };
    each(1, size_->outputs, "the routes of output", [this](std::size_t output) {
        askRefresh(false);
        askRoute(static_cast<std::int64_t>(output), false);
        return !wire_.hasGivenUp(Word::get) && !wire_.hasGivenUp(Word::refresh);
    });
    each(2, size_->outputs, "the labels of output", [this](std::size_t output) {
        askLabel(Word::outputLabel, output, false);
        return !wire_.hasGivenUp(Word::outputLabel);
    });
    each(2, size_->inputs, "the labels of input", [this](std::size_t input) {
        askLabel(Word::inputLabel, input, false);
        return !wire_.hasGivenUp(Word::inputLabel);
    });
}

// The plugin asks for such numbers where the settings do not fit the matrix; 0 when a person adds an output.
void ServerCheck::askStrangers() {
    if (!size_) return;
    for (const std::string& command : {"INPUTLABEL " + std::to_string(size_->inputs + 1), std::string("OUTPUTLABEL 0"),
                                       "GET " + std::to_string(size_->outputs + 1)}) {
        const auto text = wire_.ask(Word::stranger, command, true);
        if (wire_.isOver()) return leaveOut("numbers that the matrix does not have: " + wire_.reason());
        if (!text) continue;
        if (!text->starts_with(kRefusalOfServer)) {
            findings_.note(Finding::strangerAccepted, command + " was answered " + quotedText(*text));
        } else {
            strangerText_ = *text;
        }
    }
}

void ServerCheck::leaveOut(const std::string& what) {
    if (std::ranges::find(leftOut_, what) == leftOut_.end() && leftOut_.size() < kMaximumLeftOut)
        leftOut_.push_back(what);
}

void ServerCheck::judgeLabels(const Labels& labels, std::size_t number, const char* whose) {
    if (number < 2 || labels.numbers.size() < number || !labels.areSame) return;
    findings_.note(Finding::sameLabels, std::string("all ") + whose + " have the label " + quotedText(labels.first));
}

void ServerCheck::finish() {
    wire_.judgeLineEnds();
    if (!size_) return;
    judgeLabels(inputLabels_, size_->inputs, "inputs");
    judgeLabels(outputLabels_, size_->outputs, "outputs");
    const auto replies = size_->inputs + kRepliesBesideLabels;
    const Seconds rebuild = times_.quantile(0.5) * static_cast<double>(replies);
    if (rebuild >= limits_.slow)
        findings_.note(rebuild >= limits_.reply ? Finding::hostBlocked : Finding::longRebuild,
                       "an output's values take " + std::to_string(replies) + " replies, which is " +
                           timeText(rebuild) + " at the usual time");
}

std::string ServerCheck::good(Check check) const {
    switch (check) {
        case Check::address:
            return wire_.address().text() + " takes connections" +
                   (isBesidesTried_ ? ", also a second one beside the first" : "");
        case Check::answers:
            return counted(times_.count(), "command") + ", each answered";
        case Check::segments:
            return wire_.hasReadText() ? "each reply came by itself and in one piece" : "";
        case Check::silence:
            return "nothing came unasked";
        case Check::lineEnds:
            return wire_.hasReadText() ? "each reply ends with " + wire_.usualLineEnd() : "";
        case Check::text:
            return wire_.hasReadText() ? "each reply is UTF-8 without control characters" : "";
        case Check::size:
            return size_ ? sizeTextOf(*size_) + (isBesidesTried_ ? ", on each connection" : "") : "";
        case Check::routes:
            return routes_ > 0 ? std::to_string(routes_) + " times GET, each answered with an input that there is" : "";
        case Check::labels:
            return inputLabels_.numbers.size() + outputLabels_.numbers.size() == 0
                       ? ""
                       : counted(inputLabels_.numbers.size(), "label") + " of inputs, " +
                             std::to_string(outputLabels_.numbers.size()) + " of outputs";
        case Check::refresh:
            return refreshText_.empty() ? "" : "REFRESH is answered " + quotedText(refreshText_);
        case Check::numbers:
            return strangerText_.empty()
                       ? ""
                       : "those that the matrix does not have are answered " + quotedText(strangerText_);
        case Check::times:
            return times_.count() == 0 ? "" : "median " + timeText(times_.quantile(0.5));
        case Check::set:
            return setText_;
    }
    return "";
}

}  // namespace velmora

#include "server/FaultPlan.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "platform/foundation/Joined.h"
#include "platform/foundation/Text.h"

namespace velmora {

// One row of the table of verbs.
struct FaultVerb {
    // What the occasions of #N are counted in: commands, or connections.
    enum class Level { reply, connection, listener };

    const char* name;
    const char* argument;  // its name; "" when there is none
    const char* standard;  // the argument where none is given; "" when one has to be
    int most;              // for a number, from 1 on; 0 for a text
    const char* help;
    Level level;
    void (*effect)(Delivery& delivery, const Fault& fault);  // null above the level of replies
};

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kCommands[] = {"MATRIXSIZE", "GET", "SET", "INPUTLABEL", "OUTPUTLABEL", "REFRESH"};

std::string body(const Delivery& delivery) {
    return delivery.text.substr(0, delivery.text.rfind(kLineEnd));
}

void setBody(Delivery& delivery, const std::string& text) {
    delivery.text = text + std::string(kLineEnd);
}

template <typename Replace>
void replaceNumbers(Delivery& delivery, Replace replace) {
    constexpr const char* kDigits = "0123456789";
    std::string changed;
    std::string_view rest = delivery.text;
    while (!rest.empty()) {
        const bool isNumber = rest.find_first_of(kDigits) == 0;
        const std::size_t end = isNumber ? rest.find_first_not_of(kDigits) : rest.find_first_of(kDigits);
        const std::string part(rest.substr(0, end));
        changed += isNumber ? replace(part) : part;
        rest.remove_prefix(part.size());
    }
    delivery.text = changed;
}

using After = Delivery::After;
using Level = FaultVerb::Level;
constexpr int kLargest = 16 * 1024 * 1024;

constexpr FaultVerb kVerbs[] = {
    {"delay", "MS", "", 600'000, "The reply comes this many milliseconds late.", Level::reply,
     [](Delivery& delivery, const Fault& fault) { delivery.delay = std::chrono::milliseconds(fault.number); }},
    {"silence", "", "", 0, "There is no reply.", Level::reply,
     [](Delivery& delivery, const Fault&) { delivery.text.clear(); }},
    {"pieces", "N", "", kLargest, "The reply comes N bytes at a time, with pauses of 50 milliseconds.", Level::reply,
     [](Delivery& delivery, const Fault& fault) { delivery.pieceSize = static_cast<std::size_t>(fault.number); }},
    {"double", "", "", 0, "The reply comes twice, in one segment.", Level::reply,
     [](Delivery& delivery, const Fault&) {
         if (delivery.text.size() <= kLargest) delivery.text += delivery.text;
     }},
    {"unasked", "", "", 0, "A line that nobody asked for follows the reply, after a pause.", Level::reply,
     [](Delivery& delivery, const Fault&) { delivery.unasked = "NOBODY ASKED THIS\r\n"; }},
    {"empty", "", "", 0, "The reply is a line end.", Level::reply,
     [](Delivery& delivery, const Fault&) { setBody(delivery, ""); }},
    {"not-utf8", "", "", 0, "The reply is bytes that are not UTF-8.", Level::reply,
     [](Delivery& delivery, const Fault&) { setBody(delivery, "\xFF\xFE\xC3( \x80"); }},
    {"long", "N", "", kLargest, "The reply is N bytes and a line end.", Level::reply,
     [](Delivery& delivery, const Fault& fault) {
         setBody(delivery, std::string(static_cast<std::size_t>(fault.number), 'x'));
     }},
    {"control", "", "", 0, "Control characters stand around the reply and in its middle.", Level::reply,
     [](Delivery& delivery, const Fault&) {
         std::string text = body(delivery);
         text.insert(text.size() / 2, "\x07");
         setBody(delivery, "\x1B\t" + text + "\x7F\xC2\x85");
     }},
    {"wrong", "TEXT", "WHAT DO YOU MEAN?", 0, "The reply is this text instead; it has neither @ nor #.", Level::reply,
     [](Delivery& delivery, const Fault& fault) { setBody(delivery, fault.text); }},
    {"huge", "", "", 0, "Each number in the reply is too large for 64 bits.", Level::reply,
     [](Delivery& delivery, const Fault&) {
         replaceNumbers(delivery, [](const std::string&) { return std::string(20, '9'); });
     }},
    {"negative", "", "", 0, "Each number in the reply is negative.", Level::reply,
     [](Delivery& delivery, const Fault&) {
         replaceNumbers(delivery, [](const std::string& number) { return "-" + number; });
     }},
    {"close-before", "", "", 0, "The connection is closed instead of a reply.", Level::reply,
     [](Delivery& delivery, const Fault&) {
         delivery.text.clear();
         delivery.after = After::close;
     }},
    {"close-during", "", "", 0, "The connection is closed after half of the reply.", Level::reply,
     [](Delivery& delivery, const Fault&) {
         delivery.text.resize(body(delivery).size() / 2);
         delivery.after = After::close;
     }},
    {"close-after", "", "", 0, "The connection is closed after the reply.", Level::reply,
     [](Delivery& delivery, const Fault&) { delivery.after = After::close; }},
    {"reset", "", "", 0, "The connection is reset instead of a reply.", Level::reply,
     [](Delivery& delivery, const Fault&) {
         delivery.text.clear();
         delivery.after = After::reset;
     }},
    {"stop-reading", "", "", 0, "After the reply nothing more is read from the client.", Level::reply,
     [](Delivery& delivery, const Fault&) { delivery.after = After::stopReading; }},
    {"mute", "", "", 0, "The connection is accepted, and nothing is ever said on it.", Level::connection, nullptr},
    {"no-accept", "", "", 0, "The connection and all after it are never accepted.", Level::listener, nullptr},
};

std::optional<int> parsedNumber(std::string_view text, int most) {
    int value = 0;
    const auto [parsed, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (failure != std::errc() || parsed != text.data() + text.size() || value < 1 || value > most) return std::nullopt;
    return value;
}

// Takes the separator and the text after it off the end.
std::optional<std::string> takeAfter(char separator, std::string_view& text) {
    const std::size_t at = text.rfind(separator);
    if (at == std::string_view::npos) return std::nullopt;
    const std::string taken(text.substr(at + 1));
    text.remove_suffix(text.size() - at);
    return taken;
}

std::string_view commandOf(std::string_view line) {
    return line.substr(0, line.find(' '));
}

}  // namespace

Result<Fault> parseFault(std::string_view text) {
    const std::string words(text);
    const auto occasion = takeAfter('#', text);
    const auto command = takeAfter('@', text);
    const std::string_view name = text.substr(0, text.find('='));
    const auto verb = std::ranges::find(kVerbs, name, &FaultVerb::name);
    if (verb == std::end(kVerbs)) {
        return Failure{stringWithFormat("\"%@\" is not a fault; there are %@", name, joined(kVerbs, &FaultVerb::name))};
    }
    Fault fault{verb, verb->standard, 0, command.value_or(""), 0, words};
    const bool given = name.size() < text.size();
    if (given) fault.text = text.substr(name.size() + 1);
    if (given && *verb->argument == 0) return Failure{stringWithFormat("%@ takes no argument", name)};
    if (verb->most > 0) {
        const auto value = parsedNumber(fault.text, verb->most);
        if (!value) {
            return Failure{stringWithFormat("%@ takes a number from 1 to %i, as in %@=100, not \"%@\"", name,
                                            verb->most, name, fault.text)};
        }
        fault.number = *value;
    }
    if (command && verb->level != Level::reply) {
        return Failure{stringWithFormat("%@ concerns a whole connection, not a command", name)};
    }
    if (command && std::ranges::find(kCommands, *command) == std::end(kCommands)) {
        return Failure{stringWithFormat("\"%@\" is not a command; there are %@", *command, joined(kCommands))};
    }
    if (occasion) {
        const auto value = parsedNumber(*occasion, 1'000'000'000);
        if (!value) return Failure{stringWithFormat("# takes a number from 1 on, not \"%@\"", *occasion)};
        fault.occasion = *value;
    }
    return fault;
}

std::string faultHelp() {
    std::string help;
    for (const FaultVerb& verb : kVerbs) {
        const bool optional = *verb.standard != 0;
        std::string form = verb.name;
        if (*verb.argument != 0) form.append(optional ? "[=" : "=").append(verb.argument).append(optional ? "]" : "");
        form.resize(14, ' ');
        help += "  " + form + " " + verb.help + "\n";
    }
    return help;
}

void FaultPlan::set(std::vector<Fault> faults) {
    MutexLock lock(mutex_);
    entries_.clear();
    connections_ = 0;
    for (Fault& fault : faults) {
        entries_.push_back({std::move(fault)});
    }
}

std::vector<std::string> FaultPlan::words() const {
    MutexLock lock(mutex_);
    std::vector<std::string> words;
    for (const Entry& entry : entries_) {
        words.push_back(entry.fault.words);
    }
    return words;
}

std::optional<Delivery> FaultPlan::delivery(std::string_view line, std::string_view reply) {
    MutexLock lock(mutex_);
    std::optional<Delivery> delivery;
    for (auto& [fault, met] : entries_) {
        if (fault.verb->effect == nullptr) continue;
        if (!fault.command.empty() && fault.command != commandOf(line)) continue;
        ++met;
        if (fault.occasion != 0 && fault.occasion != met) continue;
        if (!delivery) setBody(delivery.emplace(), std::string(reply));
        fault.verb->effect(*delivery, fault);
    }
    return delivery;
}

bool FaultPlan::nextConnectionIsMute() {
    MutexLock lock(mutex_);
    ++connections_;
    return std::ranges::any_of(entries_, [occasion = connections_](const Entry& entry) {
        const Fault& fault = entry.fault;
        return fault.verb->level == Level::connection && (fault.occasion == 0 || fault.occasion == occasion);
    });
}

bool FaultPlan::acceptingIsHeld() const {
    MutexLock lock(mutex_);
    return std::ranges::any_of(entries_, [next = connections_ + 1](const Entry& entry) {
        return entry.fault.verb->level == Level::listener && next >= entry.fault.occasion;
    });
}

}  // namespace velmora

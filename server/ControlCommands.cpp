#include "server/ControlCommands.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>
#include <algorithm>
#include <charconv>
#include <iterator>
#include <map>
#include <new>
#include <utility>

#include "platform/foundation/Joined.h"
#include "platform/foundation/JsonText.h"
#include "platform/foundation/NearestWord.h"
#include "platform/foundation/QtText.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

constexpr std::string_view kKeys[] = {"routes", "inputs", "outputs", "faults",   "announced",
                                      "drop",   "dump",   "id",      "subscribe"};
constexpr std::string_view kByControl = "control";
constexpr std::size_t kMaximumFaults = 64;

// A request that has been understood; none of it has been done.
struct Request {
    MatrixChange change;
    std::optional<std::vector<Fault>> faults;
    std::optional<bool> announced;
    std::optional<bool> dropWithReset;
    std::optional<bool> dump;
    std::optional<bool> subscribe;
};

Result<std::string> textOf(const QJsonValue& value) {
    // An escaped half of a surrogate pair is no text.
    if (!value.isString() || !value.toString().isValidUtf16()) return Failure{"takes a text"};
    return value.toString().toStdString();
}

Result<int> inputOf(const QJsonValue& value) {
    const int input = value.toInt(0);  // 0 for everything that is not a whole number
    if (input < 1) return Failure{"takes the number of an input, from 1 on"};
    return input;
}

// The value that a list or an object has for each number.
template <typename Value, typename ValueOf>
Result<void> readNumbered(const QJsonValue& json, std::map<int, Value>& values, ValueOf valueOf) {
    const auto read = [&](int number, const QJsonValue& item) -> Result<void> {
        Result<Value> value = valueOf(item);
        if (!value) return Failure{stringWithFormat("item %i %@", number, value.failure().reason)};
        values.insert_or_assign(number, *std::move(value));
        return {};
    };
    if (json.isArray()) {
        int number = 0;
        const QJsonArray list = json.toArray();
        for (const QJsonValue item : list) {
            if (auto done = read(++number, item); !done) return done;
        }
        return {};
    }
    if (!json.isObject()) return Failure{"takes a list, or an object with numbers as keys"};
    const QJsonObject object = json.toObject();
    for (auto item = object.begin(); item != object.end(); ++item) {
        const std::string key = item.key().toStdString();
        int number = 0;
        const auto [end, failure] = std::from_chars(key.data(), key.data() + key.size(), number);
        if (failure != std::errc() || key != std::to_string(number)) {
            return Failure{stringWithFormat("has the key %@, which is not a number", quotedText(key))};
        }
        if (auto done = read(number, item.value()); !done) return done;
    }
    return {};
}

Result<void> readBool(const QJsonValue& json, std::optional<bool>& value) {
    if (!json.isBool()) return Failure{"takes true or false"};
    value = json.toBool();
    return {};
}

Result<void> readFaults(const QJsonValue& json, std::optional<std::vector<Fault>>& faults) {
    if (!json.isArray()) return Failure{"takes a list of faults as --fault takes them; [] for none"};
    faults.emplace();
    const QJsonArray list = json.toArray();
    if (static_cast<std::size_t>(list.size()) > kMaximumFaults) {
        return Failure{stringWithFormat("takes at most %li faults", kMaximumFaults)};
    }
    for (const QJsonValue item : list) {
        const Result<std::string> text = textOf(item);
        const Result<Fault> fault = text ? parseFault(*text) : text.failure();
        if (!fault) return Failure{stringWithFormat("item %li: %@", faults->size() + 1, fault.failure().reason)};
        faults->push_back(*fault);
    }
    return {};
}

Result<void> readDrop(const QJsonValue& json, std::optional<bool>& withReset) {
    if (json != QJsonValue("close") && json != QJsonValue("reset")) return Failure{"takes \"close\" or \"reset\""};
    withReset = json == QJsonValue("reset");
    return {};
}

Result<void> readItem(const std::string& key, const QJsonValue& value, Request& request) {
    if (key == "routes") return readNumbered(value, request.change.routes, inputOf);
    if (key == "inputs") return readNumbered(value, request.change.inputLabels, textOf);
    if (key == "outputs") return readNumbered(value, request.change.outputLabels, textOf);
    if (key == "faults") return readFaults(value, request.faults);
    if (key == "announced") return readBool(value, request.announced);
    if (key == "drop") return readDrop(value, request.dropWithReset);
    if (key == "dump") return readBool(value, request.dump);
    if (key == "subscribe") return readBool(value, request.subscribe);
    if (value.isString() || value.isDouble()) return {};  // the id
    return Failure{"takes a text or a number"};
}

Result<Request> readRequest(const QJsonObject& object) {
    Request request;
    for (auto item = object.begin(); item != object.end(); ++item) {
        const std::string key = item.key().toStdString();
        if (std::ranges::find(kKeys, key) == std::end(kKeys)) {
            const auto nearest = nearestWord(key, kKeys);
            return Failure{stringWithFormat("%@ is not known; ", quotedText(key)) +
                           (nearest ? "did you mean \"" + *nearest + "\"?" : "there are " + joined(kKeys))};
        }
        if (const auto read = readItem(key, item.value(), request); !read) {
            return Failure{stringWithFormat("\"%@\" %@", key, read.failure().reason)};
        }
    }
    if (object.size() == (object.contains("id") ? 1 : 0)) return Failure{"it asks for nothing"};
    return request;
}

QJsonArray listOf(const std::vector<std::string>& texts) {
    QJsonArray list;
    for (const std::string& text : texts) {
        list.append(qString(text));
    }
    return list;
}

// None where memory is short: a dump must not end the server. Room is left for what else is going on, the pieces of
// dumps included.
std::optional<MatrixContents> contentsIfThereIsRoom(const VirtualMatrix& matrix) {
    constexpr qsizetype kRoomToLeave = 8 * 1024 * 1024;
    try {
        const QByteArray room(kRoomToLeave, Qt::Uninitialized);
        return matrix.contents();
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

QByteArray lineOf(const QJsonObject& object) {
    return jsonText(object, QJsonDocument::Compact);
}

}  // namespace

QByteArray ControlCommands::refusal(const std::string& reason) {
    return lineOf({{"error", qString(reason)}});
}

ControlCommands::Reply ControlCommands::answer(std::string_view line) const {
    if (!isValidUTF8(line)) return {refusal("the line is not UTF-8")};
    QJsonParseError failure;
    const QJsonDocument document = jsonDocument(line, failure);
    if (failure.error != QJsonParseError::NoError) {
        return {refusal(stringWithFormat("the line is not JSON: %@ at byte %i", failure.errorString().toStdString(),
                                         failure.offset))};
    }
    if (!document.isObject()) return {refusal("the line is not a JSON object")};
    const QJsonObject request = document.object();
    Reply reply;
    std::optional<MatrixContents> contents;
    const Result<QJsonObject> outcome = carryOut(request, reply, contents);
    QJsonObject object = outcome ? *outcome : QJsonObject{{"error", qString(outcome.failure().reason)}};
    if (const QJsonValue id = request["id"]; id.isString() || id.isDouble()) object["id"] = id;
    reply.line = lineOf(object);
    if (!contents) return reply;
    reply.dump.emplace(std::exchange(reply.line, {}), *std::move(contents));
    return reply;
}

Result<QJsonObject> ControlCommands::carryOut(const QJsonObject& object, Reply& reply,
                                              std::optional<MatrixContents>& contents) const {
    Result<Request> request = readRequest(object);
    if (!request) return request.failure();
    if (request->announced == true && !server_.canAnnounce()) {
        return Failure{"the server was started with --no-announce"};
    }
    // The one thing that may still be refused comes first.
    if (const auto changed = matrix_.change(request->change, kByControl); !changed) return changed.failure();
    QJsonObject done{{"ok", true}};
    if (request->faults) faults_.set(*std::move(request->faults));
    if (request->announced) server_.setAnnouncing(*request->announced);
    if (request->dropWithReset) {
        done["dropped"] = static_cast<qint64>(server_.dropClients(*request->dropWithReset));
    }
    reply.subscribe = request->subscribe;
    if (request->dump == true) {
        describe(done);
        contents = contentsIfThereIsRoom(matrix_);
        if (!contents) return Failure{"there is no memory for a dump now; all else has been done"};
    }
    return done;
}

// The lists of the matrix are left to DumpText.
void ControlCommands::describe(QJsonObject& into) const {
    const std::string name = server_.announcedName();
    into["size"] = QJsonObject{{"inputs", matrix_.inputs()}, {"outputs", matrix_.outputs()}};
    for (const char* list : {"inputs", "outputs", "routes"}) {
        into[list] = QJsonArray();
    }
    into["faults"] = listOf(faults_.words());
    into["clients"] = listOf(server_.clientNames());
    into["announced"] = server_.isAnnouncing();
    into["name"] = name.empty() ? QJsonValue() : QJsonValue(qString(name));
}

}  // namespace velmora

// The virtual server's control socket: the answer to each line, and what the line has changed.
#include <QJsonArray>
#include <QJsonDocument>
#include <algorithm>
#include <tuple>

#include "fuzz/Fuzz.h"
#include "server/ControlCommands.h"

namespace velmora::fuzz {
namespace {

constexpr int kInputs = 12;
constexpr int kOutputs = 3;

class Server : public ControlledServer {
  public:
    std::size_t dropClients(bool) override { return ++calls; }
    std::vector<std::string> clientNames() const override { return {"127.0.0.1:4000"}; }
    bool canAnnounce() const override { return true; }
    bool isAnnouncing() const override { return false; }
    std::string announcedName() const override { return ""; }
    void setAnnouncing(bool) override { ++calls; }

    std::size_t calls = 0;
};

auto stateOf(const VirtualMatrix& matrix, const FaultPlan& faults, const Server& server) {
    const MatrixContents contents = matrix.contents();
    return std::tuple(contents.inputLabels, contents.outputLabels, contents.routes, faults.words(), server.calls);
}

QByteArray textOf(ControlCommands::Reply reply) {
    if (!reply.dump) return reply.line;
    require(reply.line.isEmpty(), "a dump is the whole line");
    QByteArray text;
    for (QByteArray piece = reply.dump->nextPiece(); !piece.isEmpty(); piece = reply.dump->nextPiece()) {
        text += piece;
    }
    return text;
}

void checkMatrix(const VirtualMatrix& matrix) {
    const MatrixContents contents = matrix.contents();
    require(contents.inputLabels.size() == kInputs && contents.outputLabels.size() == kOutputs, "the size stays");
    for (const auto* labels : {&contents.inputLabels, &contents.outputLabels}) {
        for (const std::string& label : *labels) {
            require(isValidUTF8(label) && label.size() <= VirtualMatrix::kMaximumLabelBytes, "a label fits");
            require(label.find_first_of("\r\n") == std::string::npos, "a label is one line");
        }
    }
    require(std::ranges::all_of(contents.routes, [](int input) { return input >= 1 && input <= kInputs; }),
            "a route leads to an input");
}

}  // namespace
}  // namespace velmora::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmora;
    VirtualMatrix matrix(fuzz::kInputs, fuzz::kOutputs);
    FaultPlan faults;
    fuzz::Server server;
    const ControlCommands commands(matrix, faults, server);
    for (const std::string& line : componentsSeparatedByString(fuzz::asText(data, size), "\n")) {
        const auto before = stateOf(matrix, faults, server);
        const QByteArray reply = fuzz::textOf(commands.answer(line));
        fuzz::require(reply.indexOf('\n') == reply.size() - 1, "a reply is one line");
        const QJsonObject object = QJsonDocument::fromJson(reply).object();
        fuzz::require(object.contains("ok") != object.contains("error"), "a reply is either");
        fuzz::require(object.contains("ok") || stateOf(matrix, faults, server) == before, "an error changes nothing");
        fuzz::checkMatrix(matrix);
        for (const std::string& word : faults.words()) {
            fuzz::require(static_cast<bool>(parseFault(word)), "the faults are told as they are set");
        }
    }
    return 0;
}

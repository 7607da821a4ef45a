// Shared by the fuzz targets: turning a broken property into a finding, making values from the input, and the far end
// of a connection. Each target is one program with one source file; only that file includes this one.
#pragma once

#include <arpa/inet.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include "platform/foundation/PropertyList.h"
#include "platform/foundation/Text.h"

// Replaces the system's function, because lines caused by hostile input must not fill this machine's log.
extern "C" __attribute__((used)) inline void syslog(int, const char*, ...) {}

namespace velmora::fuzz {

// A property that does not hold ends the run; libFuzzer keeps the input.
inline void require(bool holds, const char* property) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", property);
    std::abort();
}

inline std::string_view asText(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

// Makes values of every type from the input, with the keys that the system looks for among others.
class ValueMaker {
  public:
    explicit ValueMaker(FuzzedDataProvider& input) : input_(input) {}

    PropertyList value(int depth = 0) {
        switch (input_.ConsumeIntegralInRange(0, depth < 4 ? 5 : 3)) {
            case 0:
                return input_.ConsumeIntegral<std::int64_t>();
            case 1:
                return input_.ConsumeBool();
            case 2:
                return input_.ConsumeFloatingPoint<double>();
            case 4:
                return array(depth);
            case 5:
                return dictionary(depth);
            default:
                return text();
        }
    }
    ArrayReference array(int depth = 0) {
        auto array = makeArray();
        for (int count = input_.ConsumeIntegralInRange(0, 3); count > 0; --count)
            array->push_back(value(depth + 1));
        return array;
    }
    DictionaryReference dictionary(int depth = 0) {
        auto dictionary = makeDictionary();
        for (int count = input_.ConsumeIntegralInRange(0, 5); count > 0; --count) {
            std::string name = key();
            dictionary->insert_or_assign(std::move(name), value(depth + 1));
        }
        return dictionary;
    }
    // Whether every text so far can be written unchanged.
    bool textsWereWritable() const { return textsWereWritable_; }

  private:
    std::string text() {
        std::string text = input_.ConsumeRandomLengthString(64);
        // Characters that XML does not allow are written as U+FFFD.
        const bool hasControls = std::any_of(text.begin(), text.end(), [](char byte) {
            return static_cast<unsigned char>(byte) < 0x20 && byte != '\t' && byte != '\n' && byte != '\r';
        });
        if (!isValidUTF8(text) || hasControls || text.find("\uFFFE") != std::string::npos ||
            text.find("\uFFFF") != std::string::npos)
            textsWereWritable_ = false;
        return text;
    }
    std::string key() {
        static constexpr const char* known[] = {"label",
                                                "outputType",
                                                "outputNumber",
                                                "defaultInputNumber",
                                                "selectedDeviceName",
                                                "availableDevices",
                                                "configuredOutputs",
                                                "CFBundleExecutable",
                                                "NSPrincipalClass"};
        const auto choice = input_.ConsumeIntegralInRange<std::size_t>(0, std::size(known));
        return choice < std::size(known) ? known[choice] : text();
    }

    FuzzedDataProvider& input_;
    bool textsWereWritable_ = true;
};

// A port of 127.0.0.1 and the one connection that is made to it. Lives as long as the program. Waits have no time
// limit: libFuzzer limits each input, and its alarm would interrupt a timed wait.
class FarEnd {
  public:
    FarEnd() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        auto* const any = reinterpret_cast<sockaddr*>(&address);
        require(bind(listener_, any, length) == 0 && listen(listener_, 1) == 0, "a port can be had");
        getsockname(listener_, any, &length);
        port_ = ntohs(address.sin_port);
    }
    std::uint16_t port() const { return port_; }

    void accept() {
        const int on = 1;
        connection_ = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        require(connection_ >= 0, "a connection is made");
        setsockopt(connection_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    void send(std::string_view bytes) const {
        const ssize_t sent = ::send(connection_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        require(sent == static_cast<ssize_t>(bytes.size()), "the connection takes what is sent");
    }
    // A command line without its end; "" when the connection has ended.
    std::string receiveLine() const {
        std::string line;
        char byte = 0;
        while (!line.ends_with("\n\r")) {
            if (recv(connection_, &byte, 1, 0) != 1) return "";
            line += byte;
        }
        return line.substr(0, line.size() - 2);
    }

  private:
    const int listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    int connection_ = -1;
    std::uint16_t port_ = 0;
};

}  // namespace velmora::fuzz

// The host program as the one who notices at three in the morning.
#include <QDateTime>
#include <QJsonArray>
#include <chrono>

#include "platform/threads/Moment.h"
#include "tests/host/HostFixture.h"
#include "tests/support/PublishedService.h"
#include "tests/support/Sockets.h"

namespace velmora::test {

namespace {

class MonitoredServer : public HostWithServer {
  protected:
    // The next event of this kind, and that it comes within the time.
    static QJsonObject next(Program& watch, const char* event, std::chrono::milliseconds limit) {
        const Date start = Date::clock::now();
        const std::string line = watch.outputLineWith('"' + std::string(event) + '"');
        EXPECT_LT(Date::clock::now() - start, limit) << line;
        return QJsonDocument::fromJson(QByteArray::fromStdString(line)).object();
    }
};

constexpr std::chrono::seconds kAny{30};

}  // namespace

TEST_F(MonitoredServer, tellsWhatHappensToTheConnectionAndTheRoutes) {
    const QString file = writeSettings(name_, {{"Programme", 0, 0}, {"Preview", 1, 1}});
    const QStringList arguments = {"--interface", "lo", "--settings", file, "--json", "--poll", "1", "watch"};
    Program watch(VELMORA_HOST, arguments);
    EXPECT_EQ(next(watch, "found", kAny)["server"], name_);
    EXPECT_EQ(next(watch, "connected", kAny)["inputs"], 3);
    EXPECT_EQ(next(watch, "changed", kAny)["attributes"].toArray().size(), 2);
    EXPECT_EQ(runHost({"--settings", file, "set", "Preview", "3"}).code, 0);
    const QJsonObject value = next(watch, "value", std::chrono::seconds(2));
    EXPECT_EQ(value["displayName"], "Preview");
    EXPECT_EQ(value["from"].toString() + value["to"].toString(), "0002 Input 20003 Input 3");
    EXPECT_TRUE(value["output"] == 2 && value["fromInput"] == 2 && value["toInput"] == 3);

    server_.sendSignal(SIGKILL);
    const QJsonObject lost = next(watch, "lost", std::chrono::seconds(1));
    EXPECT_EQ(lost["reason"], "The server ended the connection");
    EXPECT_TRUE(QDateTime::fromString(lost["time"].toString(), Qt::ISODateWithMs).isValid());

    // Its routes are those of the beginning again.
    Program again(VELMORA_SWITCH_SERVER, {"--name", name_, "--inputs", "3", "--outputs", "2", "--interface", "lo"});
    next(watch, "connected", kAny);
    EXPECT_EQ(next(watch, "value", kAny)["toInput"], 2);
    // Without a name in the settings all servers count.
    Program all(VELMORA_HOST, {"--interface", "lo", "--json", "watch"});
    EXPECT_EQ(next(all, "found", kAny)["server"], name_);
    EXPECT_EQ(again.exitCodeAfterSignal(), 0);
    next(watch, "lost", kAny);
    EXPECT_EQ(next(all, "gone", kAny)["server"], name_);
    EXPECT_EQ(watch.exitCodeAfterSignal(SIGINT), 0);
}

TEST_F(MonitoredServer, endsWhenNobodyReads) {
    Program both("/bin/sh", {"-c", R"("$0" "$@" | head -3)", VELMORA_HOST, "--interface", "lo", "--settings",
                             writeSettings(name_, {{"One", 0, 0}}), "watch"});
    EXPECT_EQ(both.exitCode(), 0);
    EXPECT_EQ(both.errors(), "");
}

TEST_F(MonitoredServer, toldByItsStatus) {
    const QByteArray name = name_.toUtf8();
    expect(runHost({"--settings", writeSettings(name_, {{"One", 0, 0}}), "status"}), 0, "connected \"" + name + "\"\n",
           "");
    const Result absent =
        runHost({"--settings", writeSettings("Elsewhere", {{"One", 0, 0}}), "--wait", "1", "--json", "status"});
    EXPECT_EQ(absent.code, 3);
    EXPECT_EQ(absent.output, R"({"reason":"It was not found within 1 s","server":"Elsewhere","state":"absent"})"
                             "\n");
    const ListeningPort port;
    const PublishedService silent("Silent " + name.toStdString(), port.port());
    const Date start = Date::clock::now();
    expect(runHost({"--settings", writeSettings("Silent " + name_, {{"One", 0, 0}}), "--wait", "3", "status"}), 1,
           "lost \"Silent " + name + "\": It was found, but did not answer within 3 s\n", "");
    EXPECT_LT(Date::clock::now() - start, std::chrono::seconds(8));
    expect(runHost({"status"}), 2, "", "name no switch server");
}

TEST_F(HostWithServer, watchesUntilInterrupted) {
    const QStringList arguments = {"--interface", "lo", "--settings",
                                   writeSettings(name_, {{"One", 0, 0}, {"1", 1, 7}}), "watch"};
    Program text(VELMORA_HOST, arguments);
    EXPECT_NE(text.outputLineWith("Velmora Switch: 2 attributes"), "");
    EXPECT_NE(text.errorLine().find("input 8 (\"defaultInputNumber\" 7) is beyond the matrix, which has 3"),
              std::string::npos);
    EXPECT_EQ(text.exitCodeAfterSignal(SIGINT), 0);

    Program json(VELMORA_HOST, arguments + QStringList{"--json"});
    const QJsonObject notice =
        QJsonDocument::fromJson(QByteArray::fromStdString(json.outputLineWith("\"changed\""))).object();
    EXPECT_EQ(notice.value("plugin"), "Velmora Switch");
    EXPECT_EQ(notice.value("attributes"), (QJsonArray{"Velmora Switch Output 1", "Velmora Switch Output 2"}));
    EXPECT_EQ(json.exitCodeAfterSignal(SIGTERM), 0);

    // Blocked by a server that is slow, it tells how to end at once.
    const QString slow = name_ + " slow";
    Program server(VELMORA_SWITCH_SERVER, {"--name", slow, "--verbose", "--fault", "delay=5000@INPUTLABEL"});
    ASSERT_NE(server.outputLineWith("announced as"), "");
    Program blocked(VELMORA_HOST,
                    {"--interface", "lo", "--settings", writeSettings(slow, {{"One", 0, 0}}), "--defaults", "watch"});
    EXPECT_NE(blocked.errorLine().find("over the operator's routes"), std::string::npos);
    ASSERT_NE(server.outputLineWith("INPUTLABEL"), "");
    blocked.sendSignal(SIGINT);
    EXPECT_NE(blocked.errorLine().find("once more (Ctrl-C) ends it now"), std::string::npos);
    EXPECT_EQ(blocked.exitCodeAfterSignal(SIGTERM), -1);
}

TEST_F(HostProgram, aSignalDuringASalvoStopsItAndAllIsTold) {
    const QString name = QString("Stopped Salvo %1").arg(QCoreApplication::applicationPid());
    Program server(VELMORA_SWITCH_SERVER,
                   {"--name", name, "--interface", "lo", "--verbose", "--fault", "delay=1500@SET#1"});
    EXPECT_NE(server.outputLineWith("announced as"), "");
    const QString settings = writeSettings(name, {{"A", 0, 0}, {"B", 1, 0}});
    Program set(VELMORA_HOST, {"--interface", "lo", "--settings", settings, "set", "1=3", "2=3"});
    EXPECT_NE(server.outputLineWith("< SET 1 3"), "");
    set.sendSignal(SIGINT);
    const std::string told = set.output();
    EXPECT_TRUE(told.find(" done\n") < told.find(" not tried\n") && told.ends_with(" not tried\n")) << told;
    EXPECT_EQ(set.exitCode(), -1);
}

}  // namespace velmora::test

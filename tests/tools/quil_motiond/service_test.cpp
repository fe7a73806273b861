// quil-motiond with real parts: its own dbus-daemon, the service replaying traces through
// the Linux layer's scripted devices, and real clients (quil-watch and a Python client).
#include <gmock/gmock.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "service_fixture.h"

namespace Tarvo::Test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::StartsWith;

// `cycles` flips (face up, tilted, laid back, face down: two reports each), one sample
// every `stepMs` from `startMs` on. The enable line is for quil-replay; the service
// leaves host calls to its clients.
std::string Flips(int cycles, int stepMs, int startMs, bool enable = true)
{
    static const char* kPoses[] = {"0.1 0.2 9.8", "6.9 0.2 6.9", "0.1 0.2 9.8", "0.1 0.2 -9.8"};
    std::ostringstream text;
    text << (enable ? "enable 3\n" : "");
    int stamp = startMs;
    for (int i = 0; i < cycles; ++i) {
        for (const char* pose : kPoses) {
            text << "@" << stamp << " acc " << pose << "\n";
            stamp += stepMs;
        }
    }
    return text.str();
}

// The reports of `type` that quil-replay prints for `trace`.
std::vector<std::string> ExpectedReports(const std::string& trace, int type)
{
    const ChildResult replay = ChildProcess::Run({QUIL_REPLAY_PATH, trace});
    return LinesStartingWith(replay.out, "report type:" + std::to_string(type) + " ");
}

class MotiondTest : public ServiceFixture {};

// Then, as systemd restarts a service that lost its bus or failed, quil-watch claims
// again from the new one and goes on printing.
TEST_F(MotiondTest, AClaimedFlipReachesQuilWatchAsQuilReplayPrintsItAcrossARestart)
{
    // Time for both watchers to claim before the first sample.
    const std::string trace = WriteFile("flip.trace", Flips(1, 100, 1000));
    StartService({"--replay", trace});
    ChildProcess watch;
    ChildProcess json;
    ASSERT_TRUE(watch.Start({QUIL_WATCH_PATH, "--session", "monitor", "flip"}));
    ASSERT_TRUE(json.Start({QUIL_WATCH_PATH, "--session", "monitor", "--json", "3"}));
    ASSERT_TRUE(WaitForOut(watch, "report ", 2)) << watch.Err() << ServiceLog();
    ASSERT_TRUE(WaitForOut(json, "\"report\"", 2)) << json.Err();
    EXPECT_EQ(LinesStartingWith(watch.Out(), "report "), ExpectedReports(trace, 3));
    const std::vector<std::string> lines = LinesStartingWith(json.Out(), "{");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_THAT(lines[0], MatchesRegex("\\{\"t\":[0-9.e+]+,\"report\":\\{\"type\":3,\"result\":1,"
                                       "\"status\":-1,\"action\":-1,\"direction\":-1,"
                                       "\"rotateAction\":-1,\"move\":0\\.0\\}\\}"));

    service_->Signal(SIGTERM);
    EXPECT_EQ(service_->Wait().exitCode, 0);
    ASSERT_TRUE(WaitFor([&] {
        return watch.Err().find("the service stopped") != std::string::npos;
    })) << watch.Err();
    StartService({"--replay", trace});
    EXPECT_TRUE(WaitForOut(watch, "report ", 4)) << watch.Err() << ServiceLog();
    EXPECT_THAT(watch.Err(), HasSubstr("the service is back; claiming again"));
    for (const auto& [each, signal] : {std::pair{&watch, SIGINT}, std::pair{&json, SIGTERM}}) {
        each->Signal(signal);
        const ChildResult end = each->Wait();
        EXPECT_EQ(end.exitCode, 0) << end.err;
    }
    // The claims went with quil-watch, and with them the last users of flip.
    EXPECT_TRUE(WaitForLog("disable 3 -> 0 (last claim released")) << ServiceLog();
}

TEST_F(MotiondTest, EachClientGetsOnlyTheTypesItClaimed)
{
    // Flips, then the phone turned onto its side and back: flip and rotation reports
    // from the same samples. Time for both clients to claim before the first sample.
    std::string text = "enable 4\n" + Flips(2, 50, 1500);
    for (const char* pose : {"@2000 acc -9.55 0.85 1.40", "@2100 acc -9.61 0.42 1.33",
                             "@2200 acc 0.21 9.62 1.35", "@2300 acc 0.18 9.58 1.41"}) {
        text += std::string(pose) + "\n";
    }
    const std::string trace = WriteFile("two.trace", text);
    const std::vector<std::string> flips = ExpectedReports(trace, 3);
    const std::vector<std::string> rotations = ExpectedReports(trace, 4);
    ASSERT_EQ(flips.size(), 4u);
    ASSERT_FALSE(rotations.empty());
    StartService({"--replay", trace});
    auto flipper = StartClient({"claim:3", "receive:4:10"});
    auto rotator = StartClient({"claim:4", "receive:" + std::to_string(rotations.size()) + ":10"});
    auto bystander = StartClient({"ready", "receive:0:3"});
    const ChildResult flipped = flipper->Wait();
    const ChildResult rotated = rotator->Wait();
    const ChildResult stood = bystander->Wait();
    EXPECT_EQ(LinesStartingWith(flipped.out, "report"), flips) << flipped.err;
    EXPECT_EQ(LinesStartingWith(rotated.out, "report"), rotations) << rotated.err;
    EXPECT_THAT(LinesStartingWith(stood.out, "report"), ElementsAre()) << stood.err;
}

TEST_F(MotiondTest, AKilledClientsClaimsAreReleasedAndItsTypesDisabled)
{
    StartService({"--replay", WriteFile("idle.trace", "@60000 acc 0 0 9.8\n")});
    auto keeper = StartClient({"claim:3", "ready", "hold"});
    ASSERT_TRUE(WaitForOut(*keeper, "ready")) << keeper->Err();
    auto victim = StartClient({"claim:3", "claim:4", "claim:4", "ready", "hold"});
    ASSERT_TRUE(WaitForOut(*victim, "ready")) << victim->Err();
    EXPECT_THAT(ServiceLog(), HasSubstr("enable 4 -> 0 (first claim"));
    victim->Signal(SIGKILL);
    victim->Wait();
    // Flip is still held by the other client; rotation had no one else.
    ASSERT_TRUE(WaitForLog("disable 4 -> 0 (last claim gone with its client")) << ServiceLog();
    EXPECT_THAT(ServiceLog(), Not(HasSubstr("disable 3")));
    keeper->Signal(SIGKILL);
    keeper->Wait();
    EXPECT_TRUE(WaitForLog("disable 3 -> 0 (last claim gone with its client")) << ServiceLog();
}

// The name of a group the test's user is not in.
std::string ForeignGroup()
{
    std::vector<gid_t> mine(static_cast<size_t>(getgroups(0, nullptr)) + 1);
    mine.resize(static_cast<size_t>(getgroups(static_cast<int>(mine.size()), mine.data())));
    mine.push_back(getgid());
    setgrent();
    std::string found;
    for (const group* entry = getgrent(); entry != nullptr; entry = getgrent()) {
        if (std::find(mine.begin(), mine.end(), entry->gr_gid) == mine.end()) {
            found = entry->gr_name;
            break;
        }
    }
    endgrent();
    return found;
}

TEST_F(MotiondTest, TouchGesturesOnlyForMembersOfTheGroup)
{
    const std::string idle = WriteFile("idle.trace", "@60000 acc 0 0 9.8\n");
    const std::string foreign = ForeignGroup();
    ASSERT_FALSE(foreign.empty()) << "no group the test's user is outside of";
    StartService({"--replay", idle, "--gesture-group", foreign});
    const ChildResult outsider = Client({"claim:9", "claim:13", "claim:3"});
    EXPECT_THAT(outsider.out,
                HasSubstr("claim 9 error org.quilmotion.Motion1.Error.AccessDenied type 9 "
                          "(swipe-left) is a touch gesture, only for members of the group '" +
                          foreign + "'"))
        << outsider.err;
    EXPECT_THAT(outsider.out,
                HasSubstr("claim 13 error org.quilmotion.Motion1.Error.AccessDenied"));
    EXPECT_THAT(outsider.out, HasSubstr("claim 3 ok"));
    EXPECT_THAT(ServiceLog(), Not(HasSubstr("enable 9")));
    service_->Signal(SIGTERM);
    ASSERT_EQ(service_->Wait().exitCode, 0);

    const group* own = getgrgid(getgid());
    ASSERT_NE(own, nullptr);
    StartService({"--replay", idle, "--gesture-group", own->gr_name});
    const ChildResult member = Client({"claim:9", "claim:12"});
    EXPECT_THAT(member.out, HasSubstr("claim 9 ok"));
    EXPECT_THAT(member.out, HasSubstr("claim 12 ok"));
    // Not on trust: the same client run as another user is refused.
    if (const auto stranger = ClientAsNobody({"claim:9"})) {
        EXPECT_THAT(stranger->out,
                    HasSubstr("claim 9 error org.quilmotion.Motion1.Error.AccessDenied"))
            << stranger->err;
    }
}

TEST_F(MotiondTest, MistakesGetClearErrorsAndTheServiceGoesOn)
{
    StartService({"--replay", WriteFile("flips.trace", Flips(1, 50, 3000))});
    const ChildResult mistakes =
        Client({"claim:5", "claim:-1", "release:3", "call:Claim:s:[\"3\"]", "call:Claim::[]",
                "call:Claim:ii:[3, 4]", "call:Release:d:[3.0]", "call:Enable:i:[3]"});
    EXPECT_THAT(
        LinesStartingWith(mistakes.out, ""),
        ElementsAre(StartsWith("claim 5 error org.quilmotion.Motion1.Error.UnsupportedType "
                               "type 5 is not a motion type of this service (supported: "
                               "0, 2, 3, 4, 6, 7, 9, 10, 11, 12, 13)"),
                    StartsWith("claim -1 error org.quilmotion.Motion1.Error.UnsupportedType"),
                    "release 3 error org.quilmotion.Motion1.Error.NotClaimed this client "
                    "holds no claim on type 3",
                    StartsWith("call Claim error org.freedesktop.DBus.Error.InvalidArgs"),
                    StartsWith("call Claim error org.freedesktop.DBus.Error.InvalidArgs"),
                    StartsWith("call Claim error org.freedesktop.DBus.Error.InvalidArgs"),
                    StartsWith("call Release error org.freedesktop.DBus.Error.InvalidArgs"),
                    StartsWith("call Enable error org.freedesktop.DBus.Error.UnknownMethod")))
        << mistakes.err;

    // Ten thousand claims: a bounded number counts, the rest are refused, and releasing
    // as many as were made leaves nothing claimed.
    const ChildResult hoarder = Client({"claims:10000:3", "claim:4", "release:3", "ready"}, 120000);
    EXPECT_THAT(hoarder.out,
                HasSubstr("claims ok=256 org.quilmotion.Motion1.Error.LimitsExceeded=9744"))
        << hoarder.err;
    EXPECT_THAT(hoarder.out, HasSubstr("claim 4 error org.quilmotion.Motion1.Error.LimitsExceeded "
                                       "this client holds 256 claims, the most one client may "
                                       "hold"));
    EXPECT_THAT(hoarder.out, HasSubstr("release 3 ok"));
    EXPECT_TRUE(WaitForLog("disable 3 -> 0 (last claim gone with its client")) << ServiceLog();

    // And others are served as before.
    const ChildResult other = Client({"claim:3", "receive:2:10"});
    EXPECT_THAT(
        LinesStartingWith(other.out, "report"),
        ElementsAre(StartsWith("report type:3 result:1"), StartsWith("report type:3 result:0")))
        << other.err << ServiceLog();
}

TEST_F(MotiondTest, AClientThatNeverReadsLosesOnlyItsOwnMotions)
{
    // 1,600 flip reports in under two seconds, from a second after the first claim.
    const std::string trace = WriteFile("flips.trace", Flips(800, 1, 1000));
    const size_t expected = ExpectedReports(trace, 3).size();
    ASSERT_EQ(expected, 1600u);
    StartService({"--replay", trace});
    auto sleeper = StartClient({"claim:3", "ready", "sleep:6", "claim:3"});
    ASSERT_TRUE(WaitForOut(*sleeper, "ready")) << sleeper->Err();
    const ChildResult reader = Client({"claim:3", "receive:" + std::to_string(expected) + ":20"});
    EXPECT_THAT(reader.out, HasSubstr("received " + std::to_string(expected))) << reader.err;
    EXPECT_EQ(LinesStartingWith(reader.out, "report").size(), expected);
    const ChildResult slept = sleeper->Wait();
    EXPECT_THAT(slept.out, MatchesRegex("(.|\n)*claim 3 error org\\.quilmotion\\.Motion1\\.Error"
                                        "\\.LimitsExceeded [0-9]+ motions for this client were "
                                        "dropped while it did not read its messages(.|\n)*"))
        << slept.err;
    EXPECT_THAT(ServiceLog(), HasSubstr("is not reading its messages: its motions are dropped"));
}

TEST_F(MotiondTest, ADeviceUnpluggedAndPluggedBackKeepsItsClaims)
{
    const std::string trace =
        WriteFile("replug.trace", Flips(1, 50, 1000) + "@1500 device-sensors 5,12\n" +
                                      "@2000 device-sensors 1,5,12\n" + Flips(1, 50, 2500, false));
    StartService({"--replay", trace});
    const ChildResult client = Client({"claim:3", "receive:4:10"});
    const std::vector<std::string> lines = LinesStartingWith(client.out, "");
    EXPECT_THAT(lines,
                ElementsAre("claim 3 ok", StartsWith("report type:3 result:1"),
                            StartsWith("report type:3 result:0"), "available [9, 10, 11, 12, 13]",
                            "available [0, 2, 3, 4, 6, 7, 9, 10, 11, 12, 13]",
                            StartsWith("report type:3 result:1"),
                            StartsWith("report type:3 result:0"), "received 4"))
        << client.err << ServiceLog();
    EXPECT_THAT(ServiceLog(), HasSubstr("type 3 (flip) is claimed, but a device it needs is gone "
                                        "(accelerometer): the claims stay"));
}

// The live interface is the installed description, and its properties say what is served.
TEST_F(MotiondTest, TheInterfaceIsTheInstalledOneAndTellsTheTypesAndTheVersion)
{
    StartService({"--replay", WriteFile("nosensors.trace", "device-sensors 5\n@60000 light 3\n")});
    const ChildResult client =
        Client({"describe:" + std::string(QUIL_SOURCE_DIR) +
                    "/tools/quil_motiond/system/org.quilmotion.Motion1.xml",
                "describe", "get:SupportedTypes", "get:AvailableTypes", "get:Version", "claim:3"});
    const std::vector<std::string> lines = LinesStartingWith(client.out, "");
    ASSERT_EQ(lines.size(), 6u) << client.err;
    EXPECT_THAT(lines[0], HasSubstr("method Claim in i type"));
    EXPECT_EQ(lines[0], lines[1]);
    EXPECT_THAT(
        std::vector<std::string>(lines.begin() + 2, lines.end()),
        ElementsAre("get SupportedTypes [0, 2, 3, 4, 6, 7, 9, 10, 11, 12, 13]",
                    "get AvailableTypes [9, 10, 11, 12, 13]", "get Version \"" QUIL_VERSION "\"",
                    "claim 3 error org.quilmotion.Motion1.Error.Unavailable type 3 (flip) "
                    "needs a device this one does not have now: accelerometer"))
        << client.err;
}

// Stopped by SIGTERM, or by its bus going away (an error), it disables what was claimed.
TEST_F(MotiondTest, SigtermOrTheBusGoingAwayStopsItAndDisablesTheClaims)
{
    const std::string idle = WriteFile("idle.trace", "@60000 acc 0 0 9.8\n");
    for (const bool busGone : {false, true}) {
        SCOPED_TRACE(busGone ? "bus gone" : "SIGTERM");
        StartService({"--replay", idle});
        auto client = StartClient({"claim:3", "claim:7", "ready", "hold"});
        ASSERT_TRUE(WaitForOut(*client, "ready")) << client->Err();
        if (busGone) {
            bus_->Signal(SIGKILL);
            bus_->Wait();
            bus_.reset();
        } else {
            service_->Signal(SIGTERM);
        }
        const ChildResult end = service_->Wait();
        serviceEnded_ = true;
        EXPECT_EQ(end.exitCode, busGone ? 1 : 0) << end.err;
        EXPECT_THAT(end.err, HasSubstr("disable 3 -> 0 (stopping"));
        EXPECT_THAT(end.err, HasSubstr("disable 7 -> 0 (stopping"));
        EXPECT_THAT(end.err, HasSubstr(busGone ? "quil-motiond: lost the session bus ("
                                               : "quil-motiond: stopped\n"));
    }
}

// quil-watch on and the example client both run their command for each matching motion.
TEST_F(MotiondTest, QuilWatchOnAndTheExampleClientRunTheirCommandForEachMatchingMotion)
{
    // Time for both to claim before the first sample.
    StartService({"--replay", WriteFile("flips.trace", Flips(3, 50, 1500))});
    const std::string on = Path("on.out");
    const std::string muted = Path("muted");
    ChildProcess watch;
    ChildProcess example;
    ASSERT_TRUE(watch.Start({QUIL_WATCH_PATH, "--session", "on", "flip:1", "--", "/bin/sh", "-c",
                             "echo \"$QUIL_TYPE $QUIL_RESULT $QUIL_MOVE $0\" >> " + on, "arg0"}));
    ASSERT_TRUE(example.Start({"/usr/bin/python3",
                               std::string(QUIL_SOURCE_DIR) + "/examples/service/motion_client.py",
                               "--session", "/bin/sh", "-c", "echo muted >> " + muted}));
    ASSERT_TRUE(WaitForOut(example, "flip: result", 6)) << example.Err() << ServiceLog();
    ASSERT_TRUE(WaitFor([&] { return Count(ReadFile(on), "\n") >= 3; })) << watch.Err();
    EXPECT_TRUE(WaitForLog("replay: finished"));
    for (ChildProcess* each : {&watch, &example}) {
        each->Signal(SIGINT);
        EXPECT_EQ(each->Wait().exitCode, 0);
    }
    EXPECT_EQ(ReadFile(on), "3 1 0.0 arg0\n3 1 0.0 arg0\n3 1 0.0 arg0\n");
    EXPECT_EQ(example.Out(),
              "flip: result 1\nflip: result 0\nflip: result 1\nflip: result 0\n"
              "flip: result 1\nflip: result 0\n");
    EXPECT_EQ(ReadFile(muted), "muted\nmuted\nmuted\n");
}

std::string System(const std::string& file)
{
    return std::string(QUIL_SOURCE_DIR) + "/tools/quil_motiond/system/" + file;
}

std::string UserName()
{
    const passwd* user = getpwuid(getuid());
    return user != nullptr ? user->pw_name : "";
}

// A bus as strict as the system bus by default (no names owned, no method calls but to
// the bus, replies only when asked for), with the package's policy for the service, its
// user being the test's.
TEST_F(MotiondTest, TheSystemBusPolicyLetsTheServiceServeAndPingItsClients)
{
    std::string policy = ReadFile(System("org.quilmotion.Motion1.conf"));
    const std::string user = "user=\"quil-motiond\"";
    ASSERT_NE(policy.find(user), std::string::npos);
    policy.replace(policy.find(user), user.size(), "user=\"" + UserName() + "\"");
    WriteFile("policy.conf", policy);
    StartBus(
        BusConfig("system.conf",
                  "  <type>system</type>\n"
                  "  <listen>unix:path=" +
                      Path("bus") +
                      "</listen>\n"
                      "  <auth>EXTERNAL</auth>\n"
                      "  <policy context=\"default\">\n"
                      "    <allow user=\"*\"/>\n"
                      "    <deny own=\"*\"/>\n"
                      "    <deny send_type=\"method_call\"/>\n"
                      "    <allow send_type=\"signal\"/>\n"
                      "    <allow send_requested_reply=\"true\" send_type=\"method_return\"/>\n"
                      "    <allow send_requested_reply=\"true\" send_type=\"error\"/>\n"
                      "    <allow receive_type=\"method_call\"/>\n"
                      "    <allow receive_type=\"method_return\"/>\n"
                      "    <allow receive_type=\"error\"/>\n"
                      "    <allow receive_type=\"signal\"/>\n"
                      "    <allow send_destination=\"org.freedesktop.DBus\"\n"
                      "           send_interface=\"org.freedesktop.DBus\"/>\n"
                      "  </policy>\n"
                      "  <include>" +
                      Path("policy.conf") + "</include>\n"));
    // More motions than a client may have unread: they all arrive only if the pings that
    // tell the service they were read get through the policy.
    const std::string trace = WriteFile("flips.trace", Flips(400, 1, 500));
    StartService({"--replay", trace});
    const ChildResult client = Client({"claim:3", "receive:800:20", "get:Version"});
    EXPECT_THAT(client.out, HasSubstr("received 800")) << client.err << ServiceLog();
    EXPECT_THAT(client.out, HasSubstr("get Version"));
    EXPECT_THAT(ServiceLog(), Not(HasSubstr("not reading")));
    const ChildResult thief = Client({"own:org.quilmotion.Motion1", "own:org.quilmotion.Other"});
    // Anyone may claim a device motion; no one else may take the name.
    if (const auto stranger = ClientAsNobody({"claim:3", "own:org.quilmotion.Motion1"})) {
        EXPECT_THAT(stranger->out, HasSubstr("claim 3 ok")) << stranger->err;
        EXPECT_THAT(stranger->out, HasSubstr("own org.quilmotion.Motion1 error "
                                             "org.freedesktop.DBus.Error.AccessDenied"));
    }
    EXPECT_THAT(thief.out, HasSubstr("own org.quilmotion.Other error "
                                     "org.freedesktop.DBus.Error.AccessDenied"))
        << thief.err;
}

// The activation file, as the package installs it but for the session bus: the first
// call to the name starts the service.
TEST_F(MotiondTest, TheFirstCallStartsTheServiceThroughActivation)
{
    std::string activation = ReadFile(System("org.quilmotion.Motion1.service.in"));
    const std::string exec = "@QUIL_SBINDIR@/quil-motiond";
    ASSERT_NE(activation.find(exec), std::string::npos);
    activation.replace(activation.find(exec), exec.size(),
                       std::string(QUIL_MOTIOND_PATH) + " --session --replay " + QUIL_SOURCE_DIR +
                           "/examples/flip.trace");
    mkdir(Path("services").c_str(), 0755);
    WriteFile("services/org.quilmotion.Motion1.service", activation);
    StartBus(BusConfig("activating.conf",
                       "  <include>/usr/share/dbus-1/session.conf</include>\n"
                       "  <servicedir>" +
                           Path("services") + "</servicedir>\n"));
    ChildProcess watch;
    ASSERT_TRUE(watch.Start({QUIL_WATCH_PATH, "--session", "monitor", "flip"}));
    EXPECT_TRUE(WaitForOut(watch, "report ", 2)) << watch.Err() << bus_->Err();
    watch.Signal(SIGTERM);
    EXPECT_EQ(watch.Wait().exitCode, 0);
}

// Anyone may send the service a signal named like the bus daemon's: a forged "client
// gone" must neither release another client's claims nor, with arguments of the wrong
// types, end the service.
TEST_F(MotiondTest, ForgedBusSignalsChangeNothing)
{
    StartService({"--replay", WriteFile("flips.trace", Flips(1, 50, 2500))});
    auto victim = StartClient({"unique", "claim:3", "ready", "receive:2:15"});
    ASSERT_TRUE(WaitForOut(*victim, "ready")) << victim->Err();
    const std::vector<std::string> unique = LinesStartingWith(victim->Out(), "unique ");
    ASSERT_EQ(unique.size(), 1u);
    const std::string name = unique[0].substr(7);
    const ChildResult forger = Client({"spoof:sss:[\"" + name + "\", \"" + name + "\", \"\"]",
                                       "spoof:i:[3]", "spoof::[]", "get:Version"});
    EXPECT_THAT(forger.out, HasSubstr("get Version")) << forger.err << ServiceLog();
    EXPECT_THAT(ServiceLog(), Not(HasSubstr("disable 3")));
    const ChildResult received = victim->Wait();
    EXPECT_THAT(received.out, HasSubstr("received 2")) << received.err << ServiceLog();
}

}  // namespace
}  // namespace Tarvo::Test

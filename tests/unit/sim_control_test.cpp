// The control surface, the chip options, the persistent store's file, and
// the chip embedded behind the device name "sim" with its Tcl command.
#include <gtest/gtest.h>
#include <tcl.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "sim/chip_options.h"
#include "sim/control_surface.h"
#include "sim/embedded_sim.h"
#include "sim/sim_command.h"
#include "sim/test_host.h"

namespace kestrel::sim {
namespace {

using testing::eventually;
using testing::TestHost;

class SimControlTest : public ::testing::Test {
protected:
    void SetUp() override {
        SimulatedChip::Options options;
        options.protocol = LinkProtocol::h4;
        chip_ = std::make_unique<SimulatedChip>(std::move(options));
        host_ = std::make_unique<TestHost>(testing::plug_into(*chip_), LinkProtocol::h4);
        ASSERT_TRUE(host_->start());
        const auto line = host_->next(kChannelDebug);
        ASSERT_TRUE(line);
    }

    void TearDown() override {
        host_.reset();
        chip_.reset();
    }

    ControlResult run(std::string_view line) { return run_control_line(*chip_, line); }

    void expect_error(std::string_view line, std::string_view text) {
        const ControlResult result = run(line);
        EXPECT_FALSE(result.ok) << line;
        EXPECT_EQ(result.text, text) << line;
    }

    std::unique_ptr<SimulatedChip> chip_;
    std::unique_ptr<TestHost> host_;
};

TEST_F(SimControlTest, ReceivedListsEachMessageAndClearForgets) {
    host_->send_words(TestHost::request(ptcmd::kGetReq, 0x281A, 3));
    host_->send(kChannelVm, std::vector<uint8_t>{0xC0, 0x01});
    ASSERT_TRUE(host_->next(kChannelVm));  // both have been heard
    const ControlResult result = run("received");
    EXPECT_TRUE(result.ok);
    EXPECT_EQ(result.text,
              "2: 00 00 09 00 03 00 1A 28 00 00 00 00 00 00 00 00 00 00\n"
              "13: C0 01\n");
    EXPECT_TRUE(run("clear").ok);
    EXPECT_EQ(run("received").text, "");
}

TEST_F(SimControlTest, SendAndDebugSpeakAsTheChip) {
    EXPECT_TRUE(run("send 13 1 2 0xff").ok);
    auto message = host_->next(kChannelVm);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->bytes, (std::vector<uint8_t>{1, 2, 255}));
    EXPECT_TRUE(run("send 6").ok);  // an empty message
    message = host_->next(kChannelRfcomm);
    ASSERT_TRUE(message);
    EXPECT_TRUE(message->bytes.empty());
    EXPECT_TRUE(run("repeat 3 13 7 8").ok);
    for (int i = 0; i < 3; ++i) {
        message = host_->next(kChannelVm);
        ASSERT_TRUE(message);
        EXPECT_EQ(message->bytes, (std::vector<uint8_t>{7, 8}));
    }
    EXPECT_TRUE(run("debug hello   world").ok);
    message = host_->next(kChannelDebug);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->text(), "hello world");
}

TEST_F(SimControlTest, BadCommandsAnswerTheirErrorTexts) {
    expect_error("", "Error, no sim command (try help)\n");
    expect_error("bogus 1", "Error, unknown sim command 'bogus' (try help)\n");
    expect_error("send", "Error, usage: send CHANNEL BYTE...\n");
    expect_error("send 1 2", "Error, bad channel '1' (2 to 15)\n");
    expect_error("send 16 2", "Error, bad channel '16' (2 to 15)\n");
    expect_error("send 13 256", "Error, bad byte '256' (0 to 255)\n");
    expect_error("repeat 3", "Error, usage: repeat COUNT CHANNEL BYTE...\n");
    expect_error("repeat many 13 1", "Error, bad count 'many' (0 to 1000000)\n");
    expect_error("repeat 2 1 2", "Error, bad channel '1' (2 to 15)\n");
    expect_error("send 13 0x", "Error, bad byte '0x' (0 to 255)\n");
    expect_error("debug", "Error, usage: debug TEXT...\n");
    expect_error("received now", "Error, usage: received\n");
    expect_error("rate fast", "Error, bad baud rate 'fast'\n");
    expect_error("latency -1", "Error, bad latency '-1' (0 to 60000 ms)\n");
    expect_error("faults 0.1", "Error, usage: faults [DROP CORRUPT [SEED]]\n");
    expect_error("faults 2 0", "Error, bad rate '2' (0 to 1)\n");
    expect_error("faults 0 0.1 x", "Error, bad seed 'x'\n");
    expect_error("reset hot", "Error, reset takes cold or warm, not 'hot'\n");
    EXPECT_EQ(chip_->conditions(), LinkConditions{});  // nothing half-applied
}

TEST_F(SimControlTest, LineCommandsReportAndSetTheConditions) {
    EXPECT_EQ(run("rate").text, "rate 0\n");
    EXPECT_EQ(run("rate 921600").text, "rate 921600\n");
    EXPECT_EQ(run("latency 3").text, "latency 3\n");
    EXPECT_EQ(run("faults 0.5 0.25 7").text, "faults 0.5 0.25 7\n");
    EXPECT_EQ(run("faults 0 0").text, "faults 0 0 7\n");
    EXPECT_EQ(run("faults").text, "faults 0 0 7\n");
    EXPECT_EQ(chip_->conditions(), (LinkConditions{.baud = 921600, .latency_ms = 3, .seed = 7}));
    // The chip still answers through the slowed line.
    EXPECT_EQ(host_->ask(ptcmd::kGetReq, 0x281A).at(5), 2);
}

TEST_F(SimControlTest, ResetAndHaltControlTheChip) {
    EXPECT_TRUE(run("reset warm").ok);
    const auto line = host_->next(kChannelDebug);
    ASSERT_TRUE(line);
    EXPECT_EQ(line->text(), kStartupLine);
    EXPECT_EQ(host_->ask(ptcmd::kGetReq, 0x2807).at(5), 1);  // PRESERVE_VALID after a warm start

    EXPECT_TRUE(run("halt").ok);
    ASSERT_TRUE(eventually([&] { return chip_->state() == SimulatedChip::State::halted; }));
    EXPECT_TRUE(run("halt").ok);
    expect_error("send 13 1", "Error, the chip is halted\n");
    EXPECT_NE(run("status").text.find("state halted\n"), std::string::npos);
    EXPECT_TRUE(run("reset").ok);
    ASSERT_TRUE(host_->next(kChannelDebug));
    EXPECT_EQ(host_->ask(ptcmd::kGetReq, 0x2807).at(5), 0);
}

TEST_F(SimControlTest, StatusAndPsDescribeTheChip) {
    EXPECT_EQ(host_->ask(ptcmd::kSetReq, 0x7003, {0x01FE, 2, 0, 0x6590, 0x0001}).at(4), ptcmd::kOk);
    EXPECT_EQ(run("ps").text, "01fe: 6590 0001\n");
    const std::string status = run("status").text;
    for (const char* line : {"state running\n", "protocol h4\n", "starts 1\n", "ps (memory)\n"})
        EXPECT_NE(status.find(line), std::string::npos) << line << " in " << status;
    EXPECT_EQ(run("help").text, control_help());
}

TEST_F(SimControlTest, AnUnpluggedChipSaysSo) {
    host_->stop();
    ASSERT_TRUE(eventually([&] { return chip_->state() == SimulatedChip::State::unplugged; }));
    expect_error("reset", "Error, no host is connected to the chip\n");
    expect_error("halt", "Error, no host is connected to the chip\n");
    expect_error("debug hi", "Error, no host is connected to the chip\n");
    EXPECT_TRUE(run("received").ok);  // the record outlives the line
    EXPECT_EQ(run("rate 300").text, "rate 300\n");
}

// --- Options and the store's file ------------------------------------------

TEST(SimChipOptions, KeysSetTheConfigAndMistakesAreNamed) {
    ChipConfig config;
    std::string error;
    ASSERT_TRUE(apply_chip_options(config, "protocol=h4,ps=/tmp/x,rate=9600,latency=5,drop=0.01,corrupt=0.5,seed=0x10",
                                   error))
        << error;
    EXPECT_EQ(config.protocol, LinkProtocol::h4);
    EXPECT_EQ(config.ps_path, "/tmp/x");
    EXPECT_EQ(config.conditions,
              (LinkConditions{.baud = 9600, .latency_ms = 5, .drop_rate = 0.01, .corrupt_rate = 0.5, .seed = 16}));
    ASSERT_TRUE(apply_chip_options(config, "protocol=auto", error));
    EXPECT_FALSE(config.protocol);
    EXPECT_TRUE(apply_chip_options(config, "", error));

    const std::pair<const char*, const char*> mistakes[] = {
        {"colour=red", "unknown simulator option 'colour' (protocol, ps, rate, latency, drop, corrupt, seed, stack)"},
        {"protocol=usb", "bad value 'usb' for simulator option protocol (ptsp, h4 or auto)"},
        {"rate=fast", "bad value 'fast' for simulator option rate (bits a second, 0 for unlimited)"},
        {"drop=1.5", "bad value '1.5' for simulator option drop (a share from 0 to 1)"},
        {"latency=60001", "bad value '60001' for simulator option latency (milliseconds, up to 60000)"},
        {"rate", "expected KEY=VALUE, not 'rate'"},
        {"ps=", "bad value '' for simulator option ps (a file name)"},
    };
    for (const auto& [options, text] : mistakes) {
        EXPECT_FALSE(apply_chip_options(config, options, error)) << options;
        EXPECT_EQ(error, text);
    }
}

TEST(SimPsStore, FileLinesAreCheckedAndKeptInOrder) {
    char path_template[] = "/tmp/sim_ps_file_XXXXXX";
    const int fd = ::mkstemp(path_template);
    ASSERT_GE(fd, 0);
    ::close(fd);
    const std::string path = path_template;
    auto write = [&](const char* text) { std::ofstream(path, std::ios::trunc) << text; };
    std::string error;

    write("# store\n\n0002: 1 2 3\n01FE: 6590\n");
    auto store = PsStore::open(path, error);
    ASSERT_TRUE(store) << error;
    EXPECT_EQ(store->get(0x0002), (PsStore::Value{1, 2, 3}));
    EXPECT_EQ(store->next_key(0), 0x0002);
    EXPECT_EQ(store->next_key(0x0002), 0x01FE);
    EXPECT_FALSE(store->next_key(0x01FE));
    EXPECT_TRUE(store->erase(0x0002));
    EXPECT_TRUE(store->set(0x0010, {0xFFFF}));
    EXPECT_FALSE(store->set(0, {1}));
    EXPECT_FALSE(store->set(0x0011, {}));
    std::ifstream saved(path);
    std::stringstream text;
    text << saved.rdbuf();
    EXPECT_EQ(text.str(), "# Petrel simulator persistent store: KEY: WORD... (hexadecimal)\n0010: ffff\n01fe: 6590\n");

    const std::pair<const char*, const char*> broken[] = {
        {"0001: 1\n0002 3\n", " line 2: expected KEY: WORD... with a hexadecimal key from 1 to ffff"},
        {"0000: 1\n", " line 1: expected KEY: WORD... with a hexadecimal key from 1 to ffff"},
        {"0001: zz\n", " line 1: bad word 'zz'"},
        {"0001: 12345\n", " line 1: bad word '12345'"},
        {"0001:\n", " line 1: key without a value"},
        {"0001: 1\n1: 2\n", " line 2: key given twice"},
    };
    for (const auto& [contents, why] : broken) {
        write(contents);
        EXPECT_FALSE(PsStore::open(path, error)) << contents;
        EXPECT_EQ(error, path + why);
    }
    std::remove(path.c_str());
}

// --- The embedded chip and PT_sim --------------------------------------------

struct Interp {
    Interp() : interp(Tcl_CreateInterp()) {
        Tcl_CreateCommand(interp, "PT_sim", sim_command, nullptr, nullptr);
    }
    ~Interp() { Tcl_DeleteInterp(interp); }
    std::pair<int, std::string> eval(const char* script) {
        const int code = Tcl_Eval(interp, script);
        return {code, Tcl_GetStringResult(interp)};
    }
    Tcl_Interp* interp;
};

TEST(SimEmbedded, SimDeviceNamesStartAChipThatPtSimControls) {
    register_embedded_sim();
    Interp tcl;
    EXPECT_EQ(tcl.eval("PT_sim status"), std::make_pair(TCL_ERROR, std::string("Error, no simulated chip is running\n")));
    EXPECT_EQ(tcl.eval("PT_sim help"), std::make_pair(TCL_OK, std::string(control_help())));
    EXPECT_EQ(tcl.eval("PT_sim").second, "Error, usage: PT_sim command [args...] (PT_sim help lists them)\n");

    std::string error;
    EXPECT_FALSE(make_byte_stream("sim:colour=red", {}, error));
    EXPECT_EQ(error, "unknown simulator option 'colour' (protocol, ps, rate, latency, drop, corrupt, seed, stack)");

    auto stream = make_byte_stream("sim:protocol=h4,rate=0", {}, error);
    ASSERT_TRUE(stream) << error;
    TestHost host(std::move(stream), LinkProtocol::h4);
    ASSERT_TRUE(host.start());
    EXPECT_EQ(host.ask(ptcmd::kGetReq, 0x281A).at(5), 2);
    EXPECT_EQ(embedded_chip_count(), 1u);

    EXPECT_EQ(tcl.eval("PT_sim received"),
              std::make_pair(TCL_OK, std::string("2: 00 00 09 00 01 00 1A 28 00 00 00 00 00 00 00 00 00 00\n")));
    EXPECT_EQ(tcl.eval("PT_sim send 1 2"), std::make_pair(TCL_ERROR, std::string("Error, bad channel '1' (2 to 15)\n")));
    EXPECT_EQ(tcl.eval("PT_sim debug {two words}").first, TCL_OK);
    const auto line = host.next(kChannelDebug);
    ASSERT_TRUE(line);
    EXPECT_EQ(line->text(), "Petrel simulator 0.1: chip ready");
    const auto said = host.next(kChannelDebug);
    ASSERT_TRUE(said);
    EXPECT_EQ(said->text(), "two words");

    host.stop();  // the chip goes with its host
    EXPECT_TRUE(eventually([] { return embedded_chip_count() == 0; }));
    EXPECT_EQ(tcl.eval("PT_sim received").second, "Error, no simulated chip is running\n");
}

TEST(SimEmbedded, PlainSimDetectsThePtspHost) {
    register_embedded_sim();
    std::string error;
    auto stream = make_byte_stream("sim", {}, error);
    ASSERT_TRUE(stream) << error;
    TestHost host(std::move(stream), LinkProtocol::ptsp);
    ASSERT_TRUE(host.start());
    EXPECT_EQ(host.ask(ptcmd::kGetReq, 0x281A).at(5), 2);
    const auto chip = current_embedded_chip();
    ASSERT_TRUE(chip);
    EXPECT_EQ(chip->protocol(), LinkProtocol::ptsp);
}

}  // namespace
}  // namespace kestrel::sim

#include "transfer/payload_generator.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "output_capture.h"

namespace kestrel {
namespace {

using Bytes = std::vector<uint8_t>;
constexpr uint32_t kRandom = static_cast<uint32_t>(PayloadMode::random);
constexpr uint32_t kSeq8 = static_cast<uint32_t>(PayloadMode::seq8);
constexpr uint32_t kSeq16 = static_cast<uint32_t>(PayloadMode::seq16);

// Mode random from counter 0, worked out by hand: 43, 417960, ... each
// shifted right by 15, low 8 bits.
const Bytes kFirstRandom{0x00, 0x0c, 0x3f, 0xd4, 0x04, 0x1f};

TEST(PayloadGenerator, RandomCarriesItsCounterFromPayloadToPayload) {
    PayloadGenerator generator;
    EXPECT_EQ(generator.generate(2), (Bytes{0x00, 0x0c}));
    EXPECT_EQ(generator.generate(4), (Bytes{0x3f, 0xd4, 0x04, 0x1f}));
    EXPECT_EQ(generator.transmit_counter(), 1401915256u);
    EXPECT_EQ(generator.receive_counter(), 0u);
    // The receive side runs its own sequence from 0.
    EXPECT_EQ(generator.generate(6, 0, nullptr, kPayloadReceive), kFirstRandom);
}

TEST(PayloadGenerator, SequencesAdvanceOncePerPayload) {
    PayloadGenerator generator;
    generator.set_mode(PayloadMode::seq8);
    EXPECT_EQ(generator.generate(3), (Bytes{0, 0, 0}));
    EXPECT_EQ(generator.generate(2), (Bytes{1, 1}));
    generator.set_mode(PayloadMode::seq16);
    EXPECT_EQ(generator.generate(4), (Bytes{2, 0, 2, 0}));
    // Odd length: the last byte is the low byte of one more word.
    EXPECT_EQ(generator.generate(5), (Bytes{3, 0, 3, 0, 3}));
    EXPECT_EQ(generator.generate(1), (Bytes{4}));
    EXPECT_EQ(generator.transmit_counter(), 5u);

    uint32_t seed = 0x1234;
    EXPECT_EQ(generator.generate(4, kSeq16, &seed, kPayloadUseMode | kPayloadUseCounter),
              (Bytes{0x34, 0x12, 0x34, 0x12}));
    EXPECT_EQ(seed, 0x1235u);
    seed = 0x1ff;
    EXPECT_EQ(generator.generate(2, kSeq8, &seed, kPayloadUseMode | kPayloadUseCounter), (Bytes{0xff, 0xff}));
    EXPECT_EQ(seed, 0x200u);
    EXPECT_EQ(generator.transmit_counter(), 5u);  // a caller's counter leaves the generator's alone

    // Counter 0xffff wraps to 0x10000: seq16 words keep the low 16 bits.
    seed = 0xffff;
    EXPECT_EQ(generator.generate(2, kSeq16, &seed, kPayloadUseMode | kPayloadUseCounter), (Bytes{0xff, 0xff}));
    EXPECT_EQ(generator.generate(2, kSeq16, &seed, kPayloadUseMode | kPayloadUseCounter), (Bytes{0x00, 0x00}));
}

TEST(PayloadGenerator, NothingForEmptyOrOversizedPayloads) {
    PayloadGenerator generator;
    EXPECT_FALSE(generator.generate(0));
    EXPECT_FALSE(generator.generate(0xffffffffu));
    EXPECT_EQ(generator.transmit_counter(), 0u);
    // A mode outside 1 to 4 gives the block unfilled, and no counter moves.
    EXPECT_EQ(generator.generate(3, 9, nullptr, kPayloadUseMode), (Bytes{0, 0, 0}));
    EXPECT_EQ(generator.transmit_counter(), 0u);
    // The mode of a call counts only with its flag.
    EXPECT_EQ(generator.generate(2, kSeq8), (Bytes{0x00, 0x0c}));
}

TEST(PayloadGenerator, EnableRestartsBothSequences) {
    PayloadGenerator generator;
    generator.generate(3);
    generator.generate(3, 0, nullptr, kPayloadReceive);
    generator.enable();
    EXPECT_EQ(generator.transmit_counter(), 0u);
    EXPECT_EQ(generator.receive_counter(), 0u);
}

class PayloadCheckTest : public ::testing::Test {
protected:
    PayloadGenerator generator;
    test::OutputCapture console;
};

TEST_F(PayloadCheckTest, CountsBadBytesAndBitsFromTheFirstOffset) {
    Bytes received = kFirstRandom;
    PayloadCheck good = generator.check(received.data(), 6);
    EXPECT_TRUE(good.pass);
    EXPECT_TRUE(good.expected.empty());
    EXPECT_EQ(generator.receive_counter(), 1401915256u);
    EXPECT_EQ(generator.transmit_counter(), 0u);

    // The same payload again is now one payload behind: check with a copy of
    // counter 0 instead, two bytes spoiled.
    received[3] ^= 0x81;  // two bits
    received[5] ^= 0xff;  // eight bits
    uint32_t seed = 0;
    PayloadCheck bad = generator.check(received.data(), 6, 0, &seed, kPayloadUseCounter);
    EXPECT_FALSE(bad.pass);
    EXPECT_EQ(bad.bad_bytes, 2u);
    EXPECT_EQ(bad.bad_bits, 10u);
    EXPECT_EQ(bad.first_bad, 3u);
    EXPECT_EQ(bad.expected, kFirstRandom);
    EXPECT_EQ(seed, 1401915256u);
    EXPECT_EQ(console.take(), "");
}

TEST_F(PayloadCheckTest, EmptyDisabledAndNullPayloads) {
    EXPECT_TRUE(generator.check(nullptr, 0).pass);
    PayloadCheck null_block = generator.check(nullptr, 4);
    EXPECT_FALSE(null_block.pass);
    EXPECT_EQ(console.take(), "ERROR, payload is a NULL pointer whilst length is non zero\n");

    generator.disable();
    Bytes anything{1, 2, 3};
    EXPECT_TRUE(generator.check(anything.data(), 3).pass);
    EXPECT_EQ(generator.receive_counter(), 0u);  // nothing was generated
    generator.enable();
    EXPECT_FALSE(generator.check(anything.data(), 3).pass);

    // A check that cannot generate says so with the wording it always had.
    std::vector<uint8_t> huge(kPayloadMaxLength + 1);
    EXPECT_FALSE(generator.check(huge.data(), kPayloadMaxLength + 1).pass);
    EXPECT_EQ(console.take(), "Internal error, failed to allocated 1048577 bytes for payload\n");
}

// A receive thread checks while the interpreter thread restarts and
// switches the generator (ThreadSanitizer watches this one).
TEST_F(PayloadCheckTest, SettingsChangeWhileAReceiverChecks) {
    Bytes received{0, 0, 0, 0};
    std::thread receiver([&] {
        for (int i = 0; i < 2000; ++i) generator.check(received.data(), 4);
    });
    for (int i = 0; i < 200; ++i) {
        generator.enable();
        generator.set_mode(i % 2 ? PayloadMode::seq8 : PayloadMode::seq16);
        generator.generate(4);
        if (i % 3 == 0) generator.disable();
    }
    receiver.join();
    EXPECT_EQ(console.take(), "");
}

class PayloadProcedure : public ::testing::Test {
protected:
    void SetUp() override {
        Tcl_FindExecutable(nullptr);
        interp = Tcl_CreateInterp();
        generator.set_interpreter(interp);
        // Answers its length as 0, 1, 2, ...; 3 gets nothing, 2 three values.
        Tcl_Eval(interp,
                 "proc counting {flag n} {"
                 "  lappend ::calls [list $flag $n];"
                 "  if {$n == 3} { return {} };"
                 "  if {$n == 2} { return {7 8 9} };"
                 "  set r {}; for {set i 0} {$i < $n} {incr i} { lappend r $i }; return $r }");
        generator.set_tcl_procedure("counting");
    }
    void TearDown() override { Tcl_DeleteInterp(interp); }
    std::string result() const { return Tcl_GetStringResult(interp); }

    PayloadGenerator generator;
    Tcl_Interp* interp = nullptr;
    test::OutputCapture console;
};

TEST_F(PayloadProcedure, PayloadsComeFromTheProcedure) {
    EXPECT_EQ(generator.generate(4), (Bytes{0, 1, 2, 3}));
    EXPECT_EQ(result(), "");  // the values were taken
    Bytes received{0, 1, 2, 3};
    EXPECT_TRUE(generator.check(received.data(), 4).pass);
    EXPECT_EQ(Tcl_GetVar(interp, "calls", TCL_GLOBAL_ONLY), std::string("{true 4} {true 4}"));
    EXPECT_EQ(generator.transmit_counter(), 0u);
    EXPECT_EQ(generator.receive_counter(), 0u);
}

TEST_F(PayloadProcedure, EmptyOrWronglySizedAnswersFail) {
    EXPECT_FALSE(generator.generate(3));
    EXPECT_EQ(result(), "ERROR - counting did not return a value\n");
    EXPECT_FALSE(generator.generate(2));
    EXPECT_EQ(result(), "ERROR - counting generated invalid payload size [3/2]\n");
    Bytes received{7, 8};
    EXPECT_FALSE(generator.check(received.data(), 2).pass);
    EXPECT_EQ(console.take(), "Internal error, failed to allocated 2 bytes for payload\n");
    // A procedure that raises an error fails with Tcl's own message.
    generator.set_tcl_procedure("no_such_procedure");
    EXPECT_FALSE(generator.generate(1));
    EXPECT_EQ(result(), "invalid command name \"no_such_procedure\"");
}

TEST_F(PayloadProcedure, NeverRunsOffTheInterpreterThread) {
    std::optional<std::vector<uint8_t>> generated{Bytes{}};
    bool passed = true;
    std::thread receiver([&] {
        generated = generator.generate(4);
        Bytes received{0, 1, 2, 3};
        passed = generator.check(received.data(), 4).pass;
    });
    receiver.join();
    EXPECT_FALSE(generated);
    EXPECT_FALSE(passed);
    EXPECT_EQ(Tcl_GetVar(interp, "calls", TCL_GLOBAL_ONLY), nullptr);  // never called
    EXPECT_EQ(console.take(), "Internal error, failed to allocated 4 bytes for payload\n");
    // Other modes work on any thread.
    generator.set_mode(PayloadMode::seq8);
    std::thread sender([&] { generated = generator.generate(2); });
    sender.join();
    EXPECT_EQ(generated, (Bytes{0, 0}));
}

}  // namespace
}  // namespace kestrel

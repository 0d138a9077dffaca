// A first-in first-out ring of 32-bit words, the receive queue's small
// companion: the RFCOMM flow control keeps the sizes of the primitives the
// chip has not yet credited in one.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

namespace kestrel {

class WordFifo {
public:
    // capacity: a power of two; the FIFO holds up to capacity - 2 words.
    explicit WordFifo(uint32_t capacity);

    // False when the FIFO is full: the word is not stored. (A push that
    // waited for room could wait for ever on the thread that alone could
    // make it.)
    bool push(uint32_t value);
    // The oldest word; when empty, says so on the console and answers 0.
    uint32_t pop();
    uint32_t count() const;

private:
    mutable std::mutex mutex_;
    std::vector<uint32_t> values_;
    uint32_t read_ = 0;
    uint32_t write_ = 0;
    uint32_t read_count_ = 0;
    uint32_t write_count_ = 0;
};

}  // namespace kestrel

// Captures what the output routine prints to the console.
#pragma once

#include <cstdio>
#include <string>

namespace kestrel::test {

class OutputCapture {
public:
    OutputCapture();
    ~OutputCapture();
    // Everything printed since construction or the last take.
    std::string take();

private:
    std::FILE* file_;
};

}  // namespace kestrel::test

#include "output_capture.h"

#include "shell/output.h"

namespace kestrel::test {

OutputCapture::OutputCapture() : file_(std::tmpfile()) { output_set_console(file_); }

OutputCapture::~OutputCapture() {
    output_set_console(nullptr);
    std::fclose(file_);
}

std::string OutputCapture::take() {
    std::string text;
    std::rewind(file_);
    char buffer[1024];
    size_t got;
    while ((got = std::fread(buffer, 1, sizeof buffer, file_)) > 0) text.append(buffer, got);
    std::fclose(file_);
    file_ = std::tmpfile();
    output_set_console(file_);
    return text;
}

}  // namespace kestrel::test

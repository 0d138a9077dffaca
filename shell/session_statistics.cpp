#include "shell/session_statistics.h"

#include "shell/output.h"

namespace kestrel {
namespace {

constexpr const char* kTotalFormats[kSessionTotalCount] = {
    "%d L2CAP primitive%sissued.\n",  "%d DM primitive%sissued.\n",     "%d SDP primitive%sissued.\n",
    "%d RFCOMM primitive%sissued.\n", "%d BNEP primitive%sissued.\n",   "%d TCP primitive%sissued.\n",
    "%d VM primitive%sissued.\n",     "%d PTCMD primitive%sissued.\n",  "%d ACL primitive%sissued.\n",
    "%d HCI primitive%sissued.\n",    "%d L2CAP primitive%sreceived.\n", "%d DM primitive%sreceived.\n",
    "%d SDP primitive%sreceived.\n",  "%d RFCOMM primitive%sreceived.\n", "%d BNEP primitive%sreceived.\n",
    "%d TCP primitive%sreceived.\n",  "%d VM primitive%sreceived.\n",   "%d PTCMD primitive%sreceived.\n",
    "%d ACL primitive%sreceived.\n",  "%d HCI primitive%sreceived.\n",  "%d DEBUG primitive%sreceived.\n",
    "%d HQ primitive%sreceived.\n",
};

// DEBUG and HQ traffic alone does not earn the heading.
constexpr int kTotalsWithHeading = kDebugReceived;

}  // namespace

void print_session_statistics(const SessionTotals& totals) {
    uint32_t sum = 0;
    for (int i = 0; i < kTotalsWithHeading; ++i) sum += totals[i];
    if (sum != 0) {
        output_write("\nSession Statistics\n");
        output_write("==================\n");
    }
    for (int i = 0; i < kSessionTotalCount; ++i) {
        if (totals[i] == 0) continue;
        output_printf(kTotalFormats[i], static_cast<int>(totals[i]), totals[i] == 1 ? " " : "s ");
    }
}

}  // namespace kestrel

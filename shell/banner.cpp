#include "shell/banner.h"

#include <string_view>

#include "shell/build_info.h"
#include "shell/output.h"

namespace kestrel {

const char* const kBanner[kBannerRows] = {
    ".   .  .....   ....  .....  ....   .....  .    ",
    "#  #'  #''''  #''''  ''#''  #'''#  #''''  #    ",
    "# #'   #      #        #    #   #  #      #    ",
    "##:    ####:  '###.    #    ####'  ####:  #    ",
    "# '#.  #          #    #    # '#.  #      #    ",
    "#  '#  #          #    #    #  '#  #      #    ",
    "#   #  #####  ####'    #    #   #  #####  #####",
    "'   '  '''''  ''''     '    '   '  '''''  '''''",
};

void print_banner() {
    output_write("\n");
    for (const char* row : kBanner) {
        output_write(row);
        output_write("\n");
    }
    output_printf("%s ", KESTREL_FILE_VERSION);
    output_printf("%s\n", KESTREL_SPECIAL_BUILD);
    output_printf("%s\n", KESTREL_LEGAL_COPYRIGHT);
}

}  // namespace kestrel

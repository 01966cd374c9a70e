// The program's entry: two banner lines, the options, the random seed; then the field runs until the operator ends it.

#include "base/descriptors.h"
#include "base/log.h"
#include "display/canvas_files.h"
#include "display/window.h"
#include "field/state.h"
#include "httpd/http_server.h"

#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

void print_help() {
    log_line_always("options:");
    log_line_always(" -js \"URL1;URL2;...\"");
}

} // namespace

int main(int argc, char** argv) {
    open_standard_streams();
    log_line_always("Kelmora: %s", copyright);
    log_line_always("starting kelmora build on %s", __DATE__);
    // Options are recognised by their first bytes, and the program's own name is treated like an option.
    for (int i = 0; i < argc;) {
        if (strncmp(argv[i], "-js", 3) == 0 && i + 1 < argc) {
            set_jscript_src(argv[i + 1]);
            i += 2;
        } else if (strcmp(argv[i], "-canvas") == 0 && i + 1 < argc) {
            set_canvas_folder(argv[i + 1]);
            i += 2;
        } else if (strncmp(argv[i], "-h", 2) == 0) {
            print_help();
            exit(0);
        } else {
            ++i;
        }
    }
    srandom(static_cast<unsigned>(time(nullptr)));
    field_start(argc, argv);
}

// The program's entry: two banner lines, the options, the random seed; then the field runs until the operator ends it.

#include "display/window.h"
#include "field/state.h"
#include "httpd/http_server.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

static void print_help() { fputs("options:\n -js \"URL1;URL2;...\"\n", stderr); }

int main(int argc, char** argv) {
    fprintf(stderr, "Kelmora: %s\n", copyright);
    fprintf(stderr, "starting kelmora build on %s\n", __DATE__);
    // Options are told by their first bytes, and the program's own name is looked at like the others.
    for (int i = 0; i < argc;) {
        if (strncmp(argv[i], "-js", 3) == 0 && i + 1 < argc) {
            set_jscript_src(argv[i + 1]);
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

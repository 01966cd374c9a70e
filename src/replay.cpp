// kelmora-replay: checks the record of a game, prints a summary, replays the game, writes a page to share. Exit codes:
// 0 all is well, 1 the record is damaged or the game went differently, 2 a wrong option or file.

#include "base/descriptors.h"
#include "base/log.h"
#include "play/again.h"
#include "play/page.h"
#include "play/record_file.h"
#include "play/summary.h"

#include <cstdio>
#include <cstring>
#include <getopt.h>
#include <string>

namespace {

constexpr int NOT_WELL = 1;
constexpr int WRONG_OPTION = 2;

constexpr char HELP[] =
    "usage: kelmora-replay [option...] FILE\n"
    "Checks the record of a game and prints a summary of it.\n"
    "\n"
    "      --verify         plays the game again and tells the first tick that differs\n"
    "      --html PAGE      writes one page that plays the record in a browser; - is standard output\n"
    "      --scripts DIR    where the page's scripts are (beside the program)\n"
    "  -h, --help           this text\n";

enum long_only_t { VERIFY = 256, HTML, SCRIPTS };

constexpr option LONG_OPTIONS[] = {
    {"verify", no_argument, nullptr, VERIFY},
    {"html", required_argument, nullptr, HTML},
    {"scripts", required_argument, nullptr, SCRIPTS},
    {"help", no_argument, nullptr, 'h'},
    {nullptr, 0, nullptr, 0},
};

struct request_t {
    bool verify;
    const char* html;
    const char* scripts;
    const char* file;
};

// @return -1 to go on, else the exit code
int parse(int argc, char** argv, request_t& request) {
    int key = 0;
    while ((key = getopt_long(argc, argv, "h", LONG_OPTIONS, nullptr)) != -1) {
        switch (key) {
        case VERIFY:
            request.verify = true;
            break;
        case HTML:
            request.html = optarg;
            break;
        case SCRIPTS:
            request.scripts = optarg;
            break;
        case 'h':
            fputs(HELP, stdout);
            return 0;
        default:
            return WRONG_OPTION;
        }
    }
    if (argc - optind != 1) {
        fputs("kelmora-replay: give it one record\n", stderr);
        return WRONG_OPTION;
    }
    request.file = argv[optind];
    return -1;
}

bool verify(const record_file_t& record) {
    log_nothing(); // what the game said stands in no record
    const verdict_t verdict = play_again(record);
    if (verdict.other_build) fputs("kelmora-replay: the record was made by another build\n", stderr);
    const auto tick = static_cast<unsigned long long>(verdict.tick);
    if (verdict.same) {
        printf("verified: the same up to tick %llu\n", tick);
    } else {
        printf("differs at tick %llu: %s\n", tick, verdict.trouble.c_str());
    }
    return verdict.same;
}

} // namespace

int main(int argc, char** argv) {
    open_standard_streams();
    request_t request = {};
    const int code = parse(argc, argv, request);
    if (code >= 0) return code;
    record_file_t record;
    if (!read_record(request.file, record)) return WRONG_OPTION;

    bool well = record.whole;
    // A page on standard output must not be mixed with other output.
    const bool quiet = request.html != nullptr && strcmp(request.html, "-") == 0;
    if (!quiet) well = print_summary(record, stdout) && well;
    if (!record.whole) fprintf(stderr, "kelmora-replay: %s\n", record.trouble.c_str());
    if (request.verify && !quiet) well = verify(record) && well;
    if (request.html != nullptr && !write_page(request.file, request.html, request.scripts)) return WRONG_OPTION;
    return well ? 0 : NOT_WELL;
}

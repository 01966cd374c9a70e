// kelmora-headless: the field without a window. Reads the options, furnishes the field, opens the ports, plays.
// Exit codes: 0 the game has ended, 1 record or results could not be written, 2 a wrong option or value, 3 a port is
// taken.

#include "base/descriptors.h"
#include "base/log.h"
#include "field/state.h"
#include "httpd/http_server.h"
#include "play/game.h"
#include "play/ports.h"
#include "play/seats.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int NOT_WRITTEN = 1;
constexpr int WRONG_OPTION = 2;
constexpr int PORT_TAKEN = 3;

game_t game;
recorder_t recorder;

// @return the file to write to; null when none is wanted. A file that cannot be opened ends the program.
FILE* open_output(const char* name, const char* what) {
    if (name == nullptr) return nullptr;
    if (strcmp(name, "-") == 0) return stdout;
    FILE* const file = fopen(name, "abe"); // emptied when the game is certain to begin
    if (file != nullptr) return file;
    log_line_always("kelmora-headless: cannot write %s to %s: %s", what, name, strerror(errno));
    exit(WRONG_OPTION);
}

// Pipes and devices cannot be emptied. Standard output is the caller's.
void empty_output(FILE* file) {
    struct stat kind = {};
    if (file == nullptr || file == stdout || fstat(fileno(file), &kind) != 0 || !S_ISREG(kind.st_mode)) return;
    if (ftruncate(fileno(file), 0) != 0) log_line_always("kelmora-headless: cannot empty a file: %s", strerror(errno));
}

// Whether results and record would be written over each other. Devices and pipes take both.
bool are_one_file(FILE* a, FILE* b) {
    struct stat one = {}, other = {};
    if (a == nullptr || b == nullptr || fstat(fileno(a), &one) != 0 || fstat(fileno(b), &other) != 0) return false;
    return S_ISREG(one.st_mode) && one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

} // namespace

int main(int argc, char** argv) {
    open_standard_streams();
    switch (parse_options(argc, argv, game.options)) {
    case parse_result_t::help:
        fputs(options_help(), stdout);
        return 0;
    case parse_result_t::wrong:
        return WRONG_OPTION;
    case parse_result_t::run:
        break;
    }
    options_t& options = game.options;
    // Before the files: those of a game that has these ports are not touched.
    if (!open_ports(game)) return PORT_TAKEN;
    FILE* const results = open_output(options.results, "the results");
    game.record_file = open_output(options.record, "the record");
    if (are_one_file(results, game.record_file)) {
        fputs("kelmora-headless: results and record cannot both go to one file\n", stderr);
        return WRONG_OPTION;
    }
    if (!options.seed_given) options.setting.seed = static_cast<uint32_t>(time(nullptr));
    if (options.admit_all) signals.accept_only_localhost = signals.private_mode = false;
    set_jscript_src(options.scripts);

    take_signals();
    furnish_field(options.setting);
    open_ledger(game.ledger);
    if (!serve_ports(game)) return PORT_TAKEN;
    empty_output(results);
    empty_output(game.record_file);
    if (game.record_file != nullptr) {
        game.recorder = &recorder;
        start_record(game);
    }
    play(game);
    // The web threads run until the process exits, so nothing they use has a destructor.
    const bool written = finish(game, results);
    fflush(stdout);
    _Exit(written ? 0 : NOT_WRITTEN);
}

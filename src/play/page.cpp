#include "play/page.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

namespace {

using file_ptr = std::unique_ptr<FILE, int (*)(FILE*)>;

constexpr size_t CHUNK_BYTES = 1 << 16;
constexpr const char* SCRIPT_FOLDERS[] = {
    "../share/kelmora/viewer/kelmora/script", // installed
    "../../web/dist/kelmora/script",          // in the build tree
};
constexpr const char* NEEDED[] = {"three.min.js", "replay.js"};
constexpr char SCRIPTS_BEGIN[] = "<!--scripts-->", SCRIPTS_END[] = "<!--end-->"; // the text between them is replaced
constexpr char PLACE_OF_RECORD[] = "<!--record-->";

bool read_file(const char* name, std::string& text) {
    const file_ptr file(fopen(name, "rbe"), fclose);
    if (file == nullptr) {
        fprintf(stderr, "cannot read %s: %s\n", name, strerror(errno));
        return false;
    }
    text.clear();
    std::string chunk(CHUNK_BYTES, '\0');
    while (const size_t got = fread(chunk.data(), 1, chunk.size(), file.get())) text.append(chunk, 0, got);
    if (ferror(file.get()) == 0) return true;
    fprintf(stderr, "cannot read %s\n", name);
    return false;
}

std::string base64(const std::string& bytes) {
    constexpr char DIGITS[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (size_t k = 0; k < bytes.size(); k += 3) {
        uint32_t group = 0;
        for (size_t b = 0; b < 3; ++b) {
            group = group << 8U | (k + b < bytes.size() ? static_cast<unsigned char>(bytes[k + b]) : 0U);
        }
        for (size_t d = 0; d < 4; ++d) {
            text += k + d > bytes.size() ? '=' : DIGITS[group >> (18U - 6U * d) & 63U];
        }
    }
    return text;
}

// The folder of the scripts: `wanted`, or the first of the usual places that has them.
std::string script_folder(const char* wanted) {
    namespace fs = std::filesystem;
    if (wanted != nullptr) return wanted;
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    for (const char* folder : SCRIPT_FOLDERS) {
        const fs::path candidate = program.parent_path() / folder;
        if (fs::exists(candidate / NEEDED[1], error)) return candidate.string();
    }
    return {};
}

// Replaces everything between `from` and the end of `to`. @return false when the page lacks the markers
bool replace(std::string& text, const char* from, const char* to, const std::string& with) {
    const size_t begin = text.find(from);
    const size_t end = begin == std::string::npos ? begin : text.find(to, begin);
    if (end == std::string::npos) {
        fprintf(stderr, "the page has no place for %s\n", from);
        return false;
    }
    text.replace(begin, end + strlen(to) - begin, with);
    return true;
}

} // namespace

bool write_page(const char* record, const char* page, const char* scripts) {
    const std::string folder = script_folder(scripts);
    if (folder.empty()) {
        fputs("the scripts of the page are not beside the program: make them with scripts/viewer-build, or name their "
              "folder with --scripts\n",
              stderr);
        return false;
    }
    std::string html, bytes, code;
    if (!read_file((folder + "/../replay.html").c_str(), html) || !read_file(record, bytes)) return false;
    for (const char* name : NEEDED) {
        std::string script;
        if (!read_file((folder + "/" + name).c_str(), script)) return false;
        code += "<script>\n" + script + "\n</script>\n";
    }
    // The scripts are inserted last, so that their text is not searched for the other marker.
    const std::string data = "<script type=\"application/octet-stream\" id=\"record\">" + base64(bytes) + "</script>";
    if (!replace(html, PLACE_OF_RECORD, PLACE_OF_RECORD, data) || !replace(html, SCRIPTS_BEGIN, SCRIPTS_END, code)) {
        return false;
    }

    const bool to_stdout = strcmp(page, "-") == 0;
    FILE* const out = to_stdout ? stdout : fopen(page, "wbe");
    if (out == nullptr) {
        fprintf(stderr, "cannot write %s: %s\n", page, strerror(errno));
        return false;
    }
    bool written = fwrite(html.data(), 1, html.size(), out) == html.size();
    written = (to_stdout ? fflush(out) : fclose(out)) == 0 && written;
    if (!written) fprintf(stderr, "cannot write %s: %s\n", page, strerror(errno));
    return written;
}

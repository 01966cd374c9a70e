#include "class/archive.h"

#include "class/text.h"

#include <cstdio>
#include <set>
#include <zip.h>

namespace classroom {

namespace {

// Bytes that a zip source holds, read back after the archive was closed.
std::optional<std::string> read_all(zip_source_t* source) {
    zip_stat_t stat;
    if (zip_source_stat(source, &stat) != 0 || zip_source_open(source) != 0) return std::nullopt;
    std::string bytes(stat.size, '\0');
    const zip_int64_t n = zip_source_read(source, bytes.data(), bytes.size());
    zip_source_close(source);
    if (n != static_cast<zip_int64_t>(bytes.size())) return std::nullopt;
    return bytes;
}

std::nullopt_t failed(const char* what) {
    fprintf(stderr, "kelmora-class: no zip file: %s\n", what);
    return std::nullopt;
}

// Names that stand for devices on Windows, whatever follows their first dot.
bool is_device(const std::string& name) {
    std::string stem = lower(name.substr(0, name.find('.')));
    stem.erase(stem.find_last_not_of(' ') + 1);
    if (stem == "con" || stem == "prn" || stem == "aux" || stem == "nul") return true;
    return stem.size() == 4 && (stem.starts_with("com") || stem.starts_with("lpt")) && stem[3] >= '0' && stem[3] <= '9';
}

// "Ann.py" becomes "Ann (2).py" when the name is taken, in whatever case.
std::string unique_in(std::set<std::string>& used, const std::string& wish) {
    const size_t dot = wish.rfind('.');
    std::string name = wish;
    for (int n = 2; !used.insert(lower(name)).second; ++n) {
        name =
            wish.substr(0, dot) + " (" + std::to_string(n) + ')' + (dot == std::string::npos ? "" : wish.substr(dot));
    }
    return name;
}

} // namespace

std::string safe_file_name(const std::string& name) {
    std::string out;
    for (const char c : valid_utf8(name)) {
        const auto byte = static_cast<unsigned char>(c);
        const bool letter =
            (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9');
        out += letter || byte >= 0x80 || byte == ' ' || byte == '-' || byte == '_' || byte == '.' ? c : '_';
    }
    if (out.empty() || out[0] == '.' || out[0] == '-' || is_device(out)) out.insert(out.begin(), '_');
    return out;
}

std::optional<std::string> make_zip(const std::vector<file_in_archive>& files) {
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* const target = zip_source_buffer_create(nullptr, 0, 0, &error);
    if (target == nullptr) return failed(zip_error_strerror(&error));
    zip_source_keep(target); // outlives the archive, which takes one reference
    zip_t* const zip = zip_open_from_source(target, ZIP_TRUNCATE, &error);
    if (zip == nullptr) {
        zip_source_free(target);
        zip_source_free(target);
        return failed(zip_error_strerror(&error));
    }
    std::set<std::string> used;
    for (const file_in_archive& f : files) {
        // The texts outlive the archive, so the sources need no copies.
        zip_source_t* const source = zip_source_buffer(zip, f.text.data(), f.text.size(), 0);
        const std::string name = unique_in(used, safe_file_name(f.name));
        const zip_int64_t index = source == nullptr ? -1 : zip_file_add(zip, name.c_str(), source, ZIP_FL_ENC_UTF_8);
        if (index < 0) {
            if (source != nullptr) zip_source_free(source);
            zip_discard(zip);
            zip_source_free(target);
            return failed("a file could not be added");
        }
        zip_set_file_compression(zip, static_cast<zip_uint64_t>(index), ZIP_CM_DEFLATE, 1);
    }
    if (zip_close(zip) != 0) {
        zip_discard(zip);
        zip_source_free(target);
        return failed("it could not be closed");
    }
    auto bytes = read_all(target);
    zip_source_free(target);
    // libzip writes no file for an archive without entries; this is an empty one.
    if (files.empty()) return std::string("PK\5\6", 4) + std::string(18, '\0');
    return bytes;
}

} // namespace classroom

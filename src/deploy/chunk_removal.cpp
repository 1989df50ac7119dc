// The chunk phase of removing an instance: the chunks listed in the server's
// bootstrap file, the directories they leave empty inside the installation,
// and the bootstrap file itself.
#include <charconv>
#include <vector>

#include "deploy/instance_removal.hpp"
#include "paths/paths.hpp"
#include "platform/platform.hpp"
#include "trace/trace.hpp"

namespace dpl::deploy {
namespace {

// Hands out the lines of a file one at a time, at most kBootstrapLineLimit
// characters of each, without the line end.
class LineReader {
public:
    LineReader() = default;
    LineReader(const LineReader &) = delete;
    LineReader &operator=(const LineReader &) = delete;
    ~LineReader() { close(); }

    bool open(const std::string &path) {
        platform::OpenOptions options;
        options.share_write = true;
        file_ = platform::current().open_file(path, options, nullptr);
        return file_ != platform::kNoFile;
    }

    void close() {
        if (file_ != platform::kNoFile) platform::current().close_file(file_);
        file_ = platform::kNoFile;
    }

    bool next(std::string *line) {
        line->clear();
        bool any = false;
        for (;;) {
            if (at_ == filled_ && !refill()) return any;
            const char c = buffer_[at_++];
            any = true;
            if (c == '\n') return true;
            if (line->size() < kBootstrapLineLimit) line->push_back(c);
        }
    }

private:
    bool refill() {
        std::size_t read = 0;
        if (!platform::current().read_file(file_, buffer_.data(), buffer_.size(), &read)) read = 0;
        at_ = 0;
        filled_ = read;
        return read > 0;
    }

    platform::FileHandle file_ = platform::kNoFile;
    std::vector<char> buffer_ = std::vector<char>(std::size_t{64} * 1024);
    std::size_t at_ = 0;
    std::size_t filled_ = 0;
};

bool same_character(char a, char b) {
    return a == b || (paths::is_separator(a) && paths::is_separator(b));
}

// Where the system has short (8.3) names the chunk paths the library
// records are in that form: a chunk of "C:\Program Files\inst" is under
// "C:\PROGRA~1\inst". Both name the installation.
constexpr std::size_t kShortPathLimit = 255;

std::vector<std::string> installation_forms(const std::string &installation) {
    std::vector<std::string> forms{installation};
    std::optional<std::string> short_form = platform::current().short_path(installation, kShortPathLimit);
    if (short_form && *short_form != installation) forms.push_back(std::move(*short_form));
    return forms;
}

bool inside_installation(const std::string &path, const std::vector<std::string> &forms) {
    for (const std::string &form : forms) {
        if (inside_directory(path, form)) return true;
    }
    return false;
}

// Removes the parents of `chunk` that are inside the installation, nearest
// first, up to the first that cannot be removed (one that is not empty).
void remove_empty_parents(const std::string &chunk, const std::vector<std::string> &installation) {
    auto &os = platform::current();
    std::optional<std::string> parent = paths::name_part(chunk, paths::kDirectoryPart);
    std::size_t previous = chunk.size();
    while (parent && parent->size() < previous && inside_installation(*parent, installation)) {
        platform::SysError error;
        if (!os.remove_directory(*parent, &error)) return;
        previous = parent->size();
        parent = paths::name_part(*parent, paths::kDirectoryPart);
    }
}

// A number as atoi reads one: blanks, a sign, digits; 0 when there is none.
int64_t leading_number(const char *text) {
    if (text == nullptr) return 0;
    std::string_view view(text);
    while (!view.empty() && (view.front() == ' ' || view.front() == '\t')) view.remove_prefix(1);
    if (!view.empty() && view.front() == '+') view.remove_prefix(1);
    int64_t number = 0;
    std::from_chars(view.data(), view.data() + view.size(), number);
    return number;
}

}  // namespace

bool inside_directory(std::string_view path, std::string_view directory) {
    if (directory.empty()) return false;
    std::size_t length = directory.size();
    while (length > 0 && paths::is_separator(directory[length - 1])) --length;
    if (path.size() <= length || !paths::is_separator(path[length])) return false;
    for (std::size_t at = 0; at < length; ++at) {
        if (!same_character(path[at], directory[at])) return false;
    }
    bool any = false;
    std::size_t at = length;
    while (at < path.size()) {
        while (at < path.size() && paths::is_separator(path[at])) ++at;
        std::size_t end = at;
        while (end < path.size() && !paths::is_separator(path[end])) ++end;
        const std::string_view component = path.substr(at, end - at);
        if (component == "." || component == "..") return false;
        any = any || !component.empty();
        at = end;
    }
    return any;
}

void remove_listed_chunks(const std::string &bootstrap, bool mirror, const std::string &installation) {
    LineReader reader;
    if (!reader.open(bootstrap)) {
        ht_debug(5, trace::kInstance, __LINE__,
                 "Unable to read bootstrap file (%s) -- chunks will not be deleted\n", bootstrap.c_str());
        return;
    }
    const std::vector<std::string> forms = installation_forms(installation);
    std::string line;
    while (reader.next(&line)) {
        const std::optional<std::string> chunk = chunk_path_of_line(line, mirror);
        if (!chunk) continue;
        remove_instance_file(kChunkLabel, *chunk);
        remove_empty_parents(*chunk, forms);
    }
    reader.close();
    remove_instance_file(kChunkLabel, bootstrap);
}

void remove_chunk_files(Instance &instance, const std::string &installation, const std::string &server_name) {
    const char *server_number = nullptr;
    if (dplGetConfig(&instance, "SERVERNUM", &server_number, nullptr) != DPL_OK) server_number = nullptr;
    const char *mirror = nullptr;
    if (dplGetConfig(&instance, "MIRROR", &mirror, nullptr) != DPL_OK) mirror = nullptr;
    const char separator = platform::current().path_separator();
    std::string bootstrap = installation;
    bootstrap += separator;
    bootstrap += "etc";
    bootstrap += separator;
    bootstrap += "oncfg_" + server_name + "." + (server_number != nullptr ? server_number : "");
    remove_listed_chunks(bootstrap, leading_number(mirror) != 0, installation);
}

}  // namespace dpl::deploy

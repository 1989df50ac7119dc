// The names a server answers to: its name and the aliases of its
// DBSERVERALIASES list, as an array of C texts.
#include <string>
#include <string_view>
#include <vector>

#include "core/c_text.hpp"
#include "core/control_block.hpp"
#include "install/install_registry.hpp"
#include "trace/trace.hpp"

using dpl::trace::kInstall;

namespace {

// An array the caller releases with dplFreeNameList, grown one name at a
// time; released here when it is not handed out.
class NameList {
public:
    explicit NameList(std::size_t capacity)
        : names_(static_cast<char **>(std::calloc(capacity + 1, sizeof(char *)))), capacity_(capacity) {}
    NameList(const NameList &) = delete;
    NameList &operator=(const NameList &) = delete;
    ~NameList() { dplFreeNameList(names_, count()); }

    bool allocated() const { return names_ != nullptr; }
    bool add(std::string_view name) {
        if (count_ >= capacity_) return false;
        char *copy = dpl::core::c_copy(name);
        if (copy == nullptr) return false;
        names_[count_++] = copy;
        return true;
    }
    int32_t count() const { return static_cast<int32_t>(count_); }
    char **release() {
        char **names = names_;
        names_ = nullptr;
        count_ = 0;
        return names;
    }

private:
    char **names_;
    std::size_t capacity_;
    std::size_t count_ = 0;
};

char **parse(InstallControlBlock &block, const char *server_name, const char *aliases, int32_t *count_out) {
    if (aliases == nullptr) {
        const char *configured = nullptr;
        if (block.current == nullptr ||
            dplGetConfig(block.current, "DBSERVERALIASES", &configured, nullptr) != DPL_OK ||
            configured == nullptr) {
            ht_log("Couldn't retrieve alias information from onconfig\n");
            return nullptr;
        }
        aliases = configured;
    }
    ht_log("parseAliases found 1 servername (%s)\n", server_name);
    const std::vector<std::string_view> pieces = dpl::install::alias_pieces(aliases);
    NameList list(pieces.size() + 1);
    if (!list.allocated()) {
        ht_log("Failed to allocate memory for aliasList\n");
        return nullptr;
    }
    if (!list.add(server_name)) {
        ht_log("Failed to allocate memory in strdup servername\n");
        return nullptr;
    }
    if (pieces.empty()) ht_log("parseAliases did not find any additional aliases.\n");
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        const std::string piece(pieces[i]);
        const int position = static_cast<int>(i + 1);
        if (i + 1 < pieces.size()) {
            ht_log("parseAliases found %d serveralias (%s)\n", position, piece.c_str());
        } else {
            ht_log("parseAliases found %d alias (%s)\n", position, piece.c_str());
        }
        if (!list.add(piece)) {
            ht_log("Failed to allocate memory for aliasList\n");
            return nullptr;
        }
    }
    ht_log("parseAliases returns %d aliases\n", static_cast<int>(list.count()));
    *count_out = list.count();
    return list.release();
}

}  // namespace

extern "C" {

char **parseAliases(InstallControlBlock *pointer, const char *server_name, const char *aliases,
                    int32_t *count_out) {
    int32_t ignored = 0;
    int32_t &count = count_out != nullptr ? *count_out : ignored;
    count = 0;
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr || server_name == nullptr || server_name[0] == '\0') return nullptr;
    htenter(1, kInstall, __LINE__, "parseAliases");
    char **names = nullptr;
    try {
        names = parse(*block, server_name, aliases, &count);
    } catch (const std::bad_alloc &) {
        ht_log("Failed to allocate memory for aliasList\n");
        names = nullptr;
    }
    htexit(1, kInstall, __LINE__, names != nullptr ? DPL_OK : DPL_E_FAIL);
    return names;
}

void dplFreeNameList(char **names, int32_t count) {
    if (names == nullptr) return;
    for (int32_t i = 0; i < count; ++i) std::free(names[i]);
    std::free(static_cast<void *>(names));
}

}  // extern "C"

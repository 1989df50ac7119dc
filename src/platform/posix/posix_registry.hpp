// The registry of the POSIX backend: Windows' registry semantics over a text
// store per machine, R/var/lib/dpl/registry.reg, where R is the machine's
// root directory (DPL_SYSROOT, or "/", for this machine; another machine
// NAME is the directory R/var/lib/dpl/machines/NAME).
//
// Several processes may share a store. Every change is made under an
// exclusive lock on registry.lock beside the store and is on disk, replaced
// atomically, when the call that made it returns (or, inside a batch, when
// the outermost batch ends).
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/platform.hpp"
#include "platform/posix/registry_tree.hpp"

namespace dpl::platform {

namespace posix {
// Which file a parse came from: a file replaced by another has a different
// inode (the parsed one is kept open, so that its inode cannot be reused)
// and a file rewritten in place a different size or time.
struct StoreFileIdentity {
    uint64_t dev = 0, ino = 0, size = 0;
    int64_t mtime_sec = 0, mtime_nsec = 0, ctime_sec = 0, ctime_nsec = 0;
    bool operator==(const StoreFileIdentity &) const = default;
};
}  // namespace posix

class PosixRegistry {
public:
    // File names inside R/var/lib/dpl.
    static constexpr std::string_view kStoreFileName = "registry.reg";
    static constexpr std::string_view kLockFileName = "registry.lock";
    // Written in full and then renamed over the store.
    static constexpr std::string_view kTempFileName = "registry.reg.new";

    PosixRegistry() = default;
    PosixRegistry(const PosixRegistry &) = delete;
    PosixRegistry &operator=(const PosixRegistry &) = delete;
    // Releases any lock still held by an unfinished batch; unwritten batch
    // changes are dropped.
    ~PosixRegistry();

    uint32_t reg_connect(const std::string &machine, RegKey root, RegKey *out);
    uint32_t reg_open_key(RegKey parent, const std::string &path, RegView view, RegKey *out);
    uint32_t reg_create_key(RegKey parent, const std::string &path, RegView view, RegKey *out);
    uint32_t reg_close_key(RegKey key);
    uint32_t reg_query_info(RegKey key, RegKeyInfo *info);
    uint32_t reg_enum_key(RegKey key, uint32_t index, std::string *name);
    uint32_t reg_enum_value(RegKey key, uint32_t index, std::string *name, RegValue *value);
    uint32_t reg_query_value(RegKey key, const std::string &name, RegValue *value);
    uint32_t reg_set_value(RegKey key, const std::string &name, const RegValue &value);
    uint32_t reg_delete_value(RegKey key, const std::string &name);
    uint32_t reg_delete_tree(RegKey parent, const std::string &subkey, RegView view);
    void reg_begin_batch();
    uint32_t reg_end_batch();

    // How many times a store file has been replaced by this object.
    uint64_t store_writes() const;

private:
    // What a handle names; resolved again on every use.
    struct KeyRef {
        std::string machine;  // the machine's root directory
        std::string hive;     // HKEY_LOCAL_MACHINE, ...
        std::vector<std::string> path;
    };

    // One machine's store as last seen.
    struct Store {
        posix::RegTreeKey tree;
        bool cached = false;   // `tree` (or `corrupt`) reflects the file as last seen
        bool present = false;  // there was a file (none is an empty registry)
        bool corrupt = false;  // the file cannot be parsed
        int file_fd = -1;
        posix::StoreFileIdentity identity;
        int lock_fd = -1;           // held through a batch
        bool batch_loaded = false;  // loaded under the batch's lock
        bool dirty = false;         // batch changes not yet written
        uint64_t last_use = 0;
    };

    enum class Access { Read, Write };
    // The operation applied to a loaded tree; returns an error code, and
    // sets *changed when the tree was modified.
    template <typename Op>
    uint32_t with_store(const std::string &machine, Access access, Op &&op);

    // An operation on the key a handle names, which must still exist.
    template <typename Op>
    uint32_t read_key(RegKey key, Op &&op);
    template <typename Op>
    uint32_t change_key(RegKey key, bool add_hive, Op &&op);

    uint32_t find_existing(const KeyRef &ref, std::size_t parent_depth);
    uint32_t resolve(RegKey key, KeyRef *out) const;
    uint32_t make_ref(RegKey parent, const std::string &path, RegView view, KeyRef *out,
                      std::size_t *parent_depth) const;
    RegKey new_handle(KeyRef ref);

    Store &store_for(const std::string &machine);
    uint32_t load(const std::string &machine, Store &store);
    uint32_t lock(const std::string &machine, Store &store, bool create_dirs);
    void unlock(Store &store);
    uint32_t write(const std::string &machine, Store &store);
    void forget(Store &store);
    void evict_idle_stores();

    mutable std::mutex mutex_;
    std::map<RegKey, KeyRef> handles_;
    std::map<std::string, Store> stores_;
    RegKey next_handle_ = 0x1000;
    unsigned batch_depth_ = 0;
    uint64_t use_counter_ = 0;
    uint64_t writes_ = 0;
};

}  // namespace dpl::platform

#include "platform/posix/posix_registry.hpp"

#include <dirent.h>

#include <algorithm>
#include <utility>

#include "platform/posix/reg_text_format.hpp"
#include "platform/posix/registry_store_paths.hpp"

namespace dpl::platform {
namespace {

using posix::is_directory;
using posix::local_root;
using posix::RegTreeKey;
using posix::store_dir;

// Another machine's root directory; machine names, like Windows', are not
// case-sensitive.
uint32_t remote_root(const std::string &machine, std::string *out) {
    if (machine.size() < 3 || machine[0] != '\\' || machine[1] != '\\') return err::kBadNetPath;
    const std::string name = machine.substr(2);
    if (name.find_first_of(std::string_view("\\/\0", 3)) != std::string::npos || name == "." ||
        name == "..") {
        return err::kBadNetPath;
    }
    const std::string base = store_dir(local_root()) + "/machines";
    if (is_directory(base + "/" + name)) {
        *out = base + "/" + name;
        return err::kOk;
    }
    DIR *dir = ::opendir(base.c_str());
    if (dir == nullptr) return err::kBadNetPath;
    uint32_t result = err::kBadNetPath;
    while (const dirent *entry = ::readdir(dir)) {
        const std::string candidate = entry->d_name;
        std::string path = base;
        path += '/';
        path += candidate;
        if (posix::names_equal(candidate, name) && is_directory(path)) {
            *out = std::move(path);
            result = err::kOk;
            break;
        }
    }
    ::closedir(dir);
    return result;
}

const char *hive_name(RegKey key) {
    if (key == kLocalMachine) return "HKEY_LOCAL_MACHINE";
    if (key == kCurrentUser) return "HKEY_CURRENT_USER";
    if (key == kClassesRoot) return "HKEY_CLASSES_ROOT";
    if (key == kUsers) return "HKEY_USERS";
    if (key == kCurrentConfig) return "HKEY_CURRENT_CONFIG";
    return nullptr;
}

bool valid_name(std::string_view name, std::size_t max_length) {
    return posix::name_length(name) <= max_length &&
           name.find_first_of(std::string_view("\0\r\n", 3)) == std::string::npos;
}

// The key at the first `depth` components of `path` under `hive`. A hive
// that the store does not mention yet exists, empty.
const RegTreeKey *find_key(const RegTreeKey &tree, const std::string &hive,
                           const std::vector<std::string> &path, std::size_t depth) {
    static const RegTreeKey kEmptyHive;
    const RegTreeKey *key = tree.find_subkey(hive);
    if (key == nullptr) return depth == 0 ? &kEmptyHive : nullptr;
    return key->find_path(path, depth);
}

// The same for a change: a missing hive is added when the change is to be
// made in it.
RegTreeKey *find_key(RegTreeKey &tree, const std::string &hive, const std::vector<std::string> &path,
                     std::size_t depth, bool add_hive) {
    RegTreeKey *key = tree.find_subkey(hive);
    if (key == nullptr && add_hive && depth == 0) key = &tree.add_subkey(hive);
    return key == nullptr ? nullptr : key->find_path(path, depth);
}

}  // namespace

// ---- handles --------------------------------------------------------------

uint32_t PosixRegistry::resolve(RegKey key, KeyRef *out) const {
    if (const char *hive = hive_name(key)) {
        *out = KeyRef{local_root(), hive, {}};
        return err::kOk;
    }
    auto it = handles_.find(key);
    if (it == handles_.end()) return err::kInvalidHandle;
    *out = it->second;
    return err::kOk;
}

// The key `path` names below `parent`, with 32-bit redirection applied where
// the path given goes through HKEY_LOCAL_MACHINE\SOFTWARE (a parent opened
// deeper down has had its view decided already).
uint32_t PosixRegistry::make_ref(RegKey parent, const std::string &path, RegView view, KeyRef *out,
                                 std::size_t *parent_depth) const {
    if (const uint32_t error = resolve(parent, out)) return error;
    *parent_depth = out->path.size();
    std::size_t start = 0;
    while (start <= path.size()) {
        std::size_t end = path.find('\\', start);
        if (end == std::string::npos) end = path.size();
        if (end > start) {
            std::string name = path.substr(start, end - start);
            if (!valid_name(name, posix::kMaxKeyNameLength)) return err::kInvalidParameter;
            out->path.push_back(std::move(name));
        }
        start = end + 1;
    }
    std::vector<std::string> &names = out->path;
    if (view == RegView::Bits32 && out->hive == "HKEY_LOCAL_MACHINE" && *parent_depth <= 1 &&
        names.size() >= 2 && posix::names_equal(names[0], "SOFTWARE") &&
        !posix::names_equal(names[1], "WOW6432Node")) {
        names.insert(names.begin() + 1, "WOW6432Node");
    }
    if (names.size() > posix::kMaxKeyDepth) return err::kInvalidParameter;
    return err::kOk;
}

// Numbered like Windows' handles, far below the predefined keys' values.
RegKey PosixRegistry::new_handle(KeyRef ref) {
    next_handle_ += 4;
    handles_.emplace(next_handle_, std::move(ref));
    return next_handle_;
}

template <typename Op>
uint32_t PosixRegistry::with_store(const std::string &machine, Access access, Op &&op) {
    Store &store = store_for(machine);
    const bool batch = batch_depth_ > 0;
    bool locked_here = false;
    if (store.lock_fd < 0 && (batch || access == Access::Write)) {
        const uint32_t error = lock(machine, store, access == Access::Write);
        // A read may go ahead unlocked where no lock can be had (a read-only
        // or not yet created directory): nothing is written then.
        if (error != err::kOk && access == Access::Write) return error;
        locked_here = error == err::kOk && !batch;
    }
    if (!(batch && store.batch_loaded)) {
        if (const uint32_t error = load(machine, store)) {
            if (locked_here) unlock(store);
            return error;
        }
        if (batch && store.lock_fd >= 0) store.batch_loaded = true;
    }
    bool changed = false;
    uint32_t result = err::kOk;
    try {
        result = op(store.tree, &changed);
        if (changed) {
            if (batch) {
                store.dirty = true;
            } else if (const uint32_t error = write(machine, store)) {
                result = error;
            }
        }
    } catch (...) {
        // Out of memory half-way: the tree in memory may differ from the
        // file, so it is dropped (with what this batch changed) and the file,
        // untouched, is read again next time; the lock is not kept.
        forget(store);
        if (locked_here) unlock(store);
        throw;
    }
    if (locked_here) unlock(store);
    return result;
}

template <typename Op>
uint32_t PosixRegistry::read_key(RegKey key, Op &&op) {
    KeyRef ref;
    if (const uint32_t error = resolve(key, &ref)) return error;
    return with_store(ref.machine, Access::Read, [&](const RegTreeKey &tree, bool *) {
        const RegTreeKey *found = find_key(tree, ref.hive, ref.path, ref.path.size());
        return found == nullptr ? err::kKeyDeleted : op(*found);
    });
}

template <typename Op>
uint32_t PosixRegistry::change_key(RegKey key, bool add_hive, Op &&op) {
    KeyRef ref;
    if (const uint32_t error = resolve(key, &ref)) return error;
    return with_store(ref.machine, Access::Write, [&](RegTreeKey &tree, bool *changed) {
        RegTreeKey *found = find_key(tree, ref.hive, ref.path, ref.path.size(), add_hive);
        if (found == nullptr) return ref.path.empty() ? err::kFileNotFound : err::kKeyDeleted;
        return op(*found, changed);
    });
}

// kKeyDeleted when the parent has gone, kFileNotFound when only the key has.
uint32_t PosixRegistry::find_existing(const KeyRef &ref, std::size_t parent_depth) {
    return with_store(ref.machine, Access::Read, [&](const RegTreeKey &tree, bool *) {
        if (find_key(tree, ref.hive, ref.path, parent_depth) == nullptr) return err::kKeyDeleted;
        return find_key(tree, ref.hive, ref.path, ref.path.size()) == nullptr ? err::kFileNotFound : err::kOk;
    });
}

// ---- the calls ------------------------------------------------------------

namespace {
uint32_t name_len(std::string_view name) {
    return static_cast<uint32_t>(posix::name_length(name));
}
}  // namespace

uint32_t PosixRegistry::reg_connect(const std::string &machine, RegKey root, RegKey *out) {
    std::lock_guard<std::mutex> guard(mutex_);
    if (out == nullptr) return err::kInvalidParameter;
    *out = kNoKey;
    std::string dir;
    if (machine.empty()) {
        dir = local_root();
    } else if (const uint32_t error = remote_root(machine, &dir)) {
        return error;
    }
    const char *hive = hive_name(root);
    if (hive == nullptr || (!machine.empty() && root != kLocalMachine && root != kUsers)) {
        return err::kInvalidHandle;
    }
    const uint32_t error =
        with_store(dir, Access::Read, [](const RegTreeKey &, bool *) -> uint32_t { return err::kOk; });
    if (error != err::kOk) return error;
    *out = new_handle(KeyRef{dir, hive, {}});
    return err::kOk;
}

uint32_t PosixRegistry::reg_open_key(RegKey parent, const std::string &path, RegView view, RegKey *out) {
    std::lock_guard<std::mutex> guard(mutex_);
    if (out == nullptr) return err::kInvalidParameter;
    *out = kNoKey;
    KeyRef ref;
    std::size_t parent_depth = 0;
    if (const uint32_t error = make_ref(parent, path, view, &ref, &parent_depth)) return error;
    const uint32_t error = find_existing(ref, parent_depth);
    if (error != err::kOk) return error;
    *out = new_handle(std::move(ref));
    return err::kOk;
}

uint32_t PosixRegistry::reg_create_key(RegKey parent, const std::string &path, RegView view, RegKey *out) {
    std::lock_guard<std::mutex> guard(mutex_);
    if (out == nullptr) return err::kInvalidParameter;
    *out = kNoKey;
    KeyRef ref;
    std::size_t parent_depth = 0;
    if (const uint32_t error = make_ref(parent, path, view, &ref, &parent_depth)) return error;
    // An existing key is only opened, which needs no lock and no write.
    uint32_t error = find_existing(ref, parent_depth);
    if (error == err::kFileNotFound) {
        error = with_store(ref.machine, Access::Write, [&](RegTreeKey &tree, bool *changed) {
            RegTreeKey *key = find_key(tree, ref.hive, ref.path, parent_depth, true);
            if (key == nullptr) return err::kKeyDeleted;
            for (std::size_t i = parent_depth; i < ref.path.size(); ++i) {
                if (RegTreeKey *existing = key->find_subkey(ref.path[i])) {
                    key = existing;
                } else {
                    key = &key->add_subkey(ref.path[i]);
                    *changed = true;
                }
            }
            return err::kOk;
        });
    }
    if (error != err::kOk) return error;
    *out = new_handle(std::move(ref));
    return err::kOk;
}

uint32_t PosixRegistry::reg_close_key(RegKey key) {
    std::lock_guard<std::mutex> guard(mutex_);
    if (hive_name(key) != nullptr) return err::kOk;
    return handles_.erase(key) == 1 ? err::kOk : err::kInvalidHandle;
}

uint32_t PosixRegistry::reg_query_info(RegKey key, RegKeyInfo *info) {
    std::lock_guard<std::mutex> guard(mutex_);
    return read_key(key, [&](const RegTreeKey &found) {
        RegKeyInfo result;
        result.subkeys = static_cast<uint32_t>(found.subkey_count());
        result.values = static_cast<uint32_t>(found.value_count());
        for (std::size_t i = 0; i < found.subkey_count(); ++i) {
            result.max_subkey_len = std::max(result.max_subkey_len, name_len(found.subkey(i).name()));
        }
        for (std::size_t i = 0; i < found.value_count(); ++i) {
            const posix::NamedValue &named = found.value(i);
            result.max_value_name_len = std::max(result.max_value_name_len, name_len(named.name));
            result.max_value_len =
                std::max(result.max_value_len, static_cast<uint32_t>(named.value.data.size()));
        }
        if (info != nullptr) *info = result;
        return err::kOk;
    });
}

uint32_t PosixRegistry::reg_enum_key(RegKey key, uint32_t index, std::string *name) {
    std::lock_guard<std::mutex> guard(mutex_);
    return read_key(key, [&](const RegTreeKey &found) {
        if (index >= found.subkey_count()) return err::kNoMoreItems;
        if (name != nullptr) *name = found.subkey(index).name();
        return err::kOk;
    });
}

uint32_t PosixRegistry::reg_enum_value(RegKey key, uint32_t index, std::string *name, RegValue *value) {
    std::lock_guard<std::mutex> guard(mutex_);
    return read_key(key, [&](const RegTreeKey &found) {
        if (index >= found.value_count()) return err::kNoMoreItems;
        if (name != nullptr) *name = found.value(index).name;
        if (value != nullptr) *value = found.value(index).value;
        return err::kOk;
    });
}

uint32_t PosixRegistry::reg_query_value(RegKey key, const std::string &name, RegValue *value) {
    std::lock_guard<std::mutex> guard(mutex_);
    return read_key(key, [&](const RegTreeKey &found) {
        const RegValue *stored = found.find_value(name);
        if (stored == nullptr) return err::kFileNotFound;
        if (value != nullptr) *value = *stored;
        return err::kOk;
    });
}

uint32_t PosixRegistry::reg_set_value(RegKey key, const std::string &name, const RegValue &value) {
    std::lock_guard<std::mutex> guard(mutex_);
    if (!valid_name(name, posix::kMaxValueNameLength)) return err::kInvalidParameter;
    return change_key(key, true, [&](RegTreeKey &found, bool *changed) {
        const RegValue *stored = found.find_value(name);
        if (stored != nullptr && stored->type == value.type && stored->data == value.data) return err::kOk;
        found.set_value(name, value);
        *changed = true;
        return err::kOk;
    });
}

uint32_t PosixRegistry::reg_delete_value(RegKey key, const std::string &name) {
    std::lock_guard<std::mutex> guard(mutex_);
    return change_key(key, false, [&](RegTreeKey &found, bool *changed) {
        if (!found.remove_value(name)) return err::kFileNotFound;
        *changed = true;
        return err::kOk;
    });
}

uint32_t PosixRegistry::reg_delete_tree(RegKey parent, const std::string &subkey, RegView view) {
    std::lock_guard<std::mutex> guard(mutex_);
    KeyRef ref;
    std::size_t parent_depth = 0;
    if (const uint32_t error = make_ref(parent, subkey, view, &ref, &parent_depth)) return error;
    return with_store(ref.machine, Access::Write, [&](RegTreeKey &tree, bool *changed) {
        RegTreeKey *key = find_key(tree, ref.hive, ref.path, parent_depth, false);
        if (key == nullptr) {
            // A hive the store does not mention has nothing to delete.
            return parent_depth != 0 ? err::kKeyDeleted : ref.path.empty() ? err::kOk : err::kFileNotFound;
        }
        if (ref.path.size() == parent_depth) {
            // No subkey: everything below the key goes, the key stays.
            *changed = key->subkey_count() != 0 || key->value_count() != 0;
            key->clear_subkeys();
            key->clear_values();
            return err::kOk;
        }
        RegTreeKey *holder = find_key(tree, ref.hive, ref.path, ref.path.size() - 1, false);
        if (holder == nullptr || !holder->remove_subkey(ref.path.back())) return err::kFileNotFound;
        *changed = true;
        return err::kOk;
    });
}

void PosixRegistry::reg_begin_batch() {
    std::lock_guard<std::mutex> guard(mutex_);
    ++batch_depth_;
}

uint32_t PosixRegistry::reg_end_batch() {
    std::lock_guard<std::mutex> guard(mutex_);
    if (batch_depth_ == 0 || --batch_depth_ > 0) return err::kOk;
    uint32_t result = err::kOk;
    for (auto &[machine, store] : stores_) {
        if (store.dirty) {
            uint32_t error = err::kOk;
            // Ends batches from destructors too, so nothing may escape: a
            // store that cannot be written for want of memory keeps its file.
            try {
                error = write(machine, store);
            } catch (const std::bad_alloc &) {
                forget(store);
                error = err::kNotEnoughMemory;
            }
            if (result == err::kOk) result = error;
        }
        unlock(store);
    }
    evict_idle_stores();
    return result;
}

uint64_t PosixRegistry::store_writes() const {
    std::lock_guard<std::mutex> guard(mutex_);
    return writes_;
}

}  // namespace dpl::platform

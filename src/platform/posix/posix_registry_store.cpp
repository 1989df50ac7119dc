// The store file of each machine's registry: reading it when it changed,
// locking it across processes, and replacing it whole.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <new>
#include <thread>
#include <utility>

#include "platform/posix/posix_registry.hpp"
#include "platform/posix/reg_text_format.hpp"
#include "platform/posix/registry_store_paths.hpp"

namespace dpl::platform {
namespace {

using posix::in_store_dir;
using posix::io_error;
using posix::is_directory;
using posix::store_dir;

// Stores kept open for reading between calls; more are dropped, oldest first.
constexpr std::size_t kMaxIdleStores = 8;
// A lock held longer than this belongs to a process that has hung.
constexpr auto kLockTimeout = std::chrono::seconds(30);

bool write_all(int fd, std::string_view data) {
    while (!data.empty()) {
        const ssize_t written = ::write(fd, data.data(), data.size());
        if (written < 0 && errno != EINTR) return false;
        if (written > 0) data.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool read_all(int fd, std::string *out) {
    out->clear();
    char buffer[65536];
    while (true) {
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got < 0 && errno != EINTR) return false;
        if (got == 0) return true;
        if (got > 0) out->append(buffer, static_cast<std::size_t>(got));
    }
}

posix::StoreFileIdentity identity_of(const struct stat &st) {
    return {static_cast<uint64_t>(st.st_dev),         static_cast<uint64_t>(st.st_ino),
            static_cast<uint64_t>(st.st_size),        static_cast<int64_t>(st.st_mtim.tv_sec),
            static_cast<int64_t>(st.st_mtim.tv_nsec), static_cast<int64_t>(st.st_ctim.tv_sec),
            static_cast<int64_t>(st.st_ctim.tv_nsec)};
}

uint32_t make_dirs(const std::string &path) {
    for (std::size_t pos = 1; pos <= path.size(); ++pos) {
        if (pos != path.size() && path[pos] != '/') continue;
        const std::string prefix = path.substr(0, pos);
        if (::mkdir(prefix.c_str(), 0755) != 0 && errno != EEXIST) return io_error(errno);
    }
    return is_directory(path) ? err::kOk : err::kRegistryIoFailed;
}

}  // namespace

PosixRegistry::~PosixRegistry() {
    for (auto &entry : stores_) {
        unlock(entry.second);
        forget(entry.second);
    }
}

// ---- the stores -----------------------------------------------------------

PosixRegistry::Store &PosixRegistry::store_for(const std::string &machine) {
    auto it = stores_.find(machine);
    if (it == stores_.end()) {
        evict_idle_stores();
        it = stores_.emplace(machine, Store{}).first;
    }
    it->second.last_use = ++use_counter_;
    return it->second;
}

void PosixRegistry::evict_idle_stores() {
    if (batch_depth_ > 0) return;
    while (stores_.size() >= kMaxIdleStores) {
        auto oldest = std::min_element(stores_.begin(), stores_.end(), [](const auto &a, const auto &b) {
            return a.second.last_use < b.second.last_use;
        });
        unlock(oldest->second);
        forget(oldest->second);
        stores_.erase(oldest);
    }
}

void PosixRegistry::forget(Store &store) {
    if (store.file_fd >= 0) ::close(store.file_fd);
    Store fresh;
    fresh.lock_fd = store.lock_fd;
    fresh.last_use = store.last_use;
    store = std::move(fresh);
}

// Brings `store` up to date with its file, reparsing only when the file is
// not the one parsed last time. The cached file stays open, so its inode
// cannot be reused by a later file and mistaken for it.
uint32_t PosixRegistry::load(const std::string &machine, Store &store) {
    const std::string path = in_store_dir(machine, kStoreFileName);
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) {
        if (errno != ENOENT && errno != ENOTDIR) return io_error(errno);
        if (!store.cached || store.present) forget(store);
        store.cached = true;
        return err::kOk;
    }
    if (store.cached && store.present && store.identity == identity_of(st)) {
        return store.corrupt ? err::kRegistryCorrupt : err::kOk;
    }
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return io_error(errno);
    std::string bytes;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || !read_all(fd, &bytes)) {
        ::close(fd);
        return err::kRegistryIoFailed;
    }
    forget(store);
    store.file_fd = fd;
    store.identity = identity_of(st);
    store.cached = true;
    store.present = true;
    if (!posix::parse_reg_text(bytes, &store.tree, nullptr)) {
        store.corrupt = true;
        return err::kRegistryCorrupt;
    }
    return err::kOk;
}

uint32_t PosixRegistry::lock(const std::string &machine, Store &store, bool create_dirs) {
    if (create_dirs) {
        if (const uint32_t error = make_dirs(store_dir(machine))) return error;
    }
    const std::string path = in_store_dir(machine, kLockFileName);
    int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    // Locking needs no write access, so a lock file made by another user will do.
    if (fd < 0 && (errno == EACCES || errno == EROFS)) fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return io_error(errno);
    const auto deadline = std::chrono::steady_clock::now() + kLockTimeout;
    while (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        if (error != EWOULDBLOCK && error != EINTR) {
            ::close(fd);
            return err::kRegistryIoFailed;
        }
        if (std::chrono::steady_clock::now() > deadline) {
            ::close(fd);
            return err::kLockViolation;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    store.lock_fd = fd;
    store.batch_loaded = false;
    return err::kOk;
}

void PosixRegistry::unlock(Store &store) {
    if (store.lock_fd < 0) return;
    ::flock(store.lock_fd, LOCK_UN);
    ::close(store.lock_fd);
    store.lock_fd = -1;
    store.batch_loaded = false;
}

// Replaces the store file with the tree in memory. On failure the tree is
// dropped, so that the next call sees what the file really holds.
uint32_t PosixRegistry::write(const std::string &machine, Store &store) {
    const std::string temp = in_store_dir(machine, kTempFileName);
    const std::string path = in_store_dir(machine, kStoreFileName);
    const std::string text = posix::serialize_reg_text(store.tree);
    const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) {
        const int error = errno;
        forget(store);
        return io_error(error);
    }
    struct stat st {};
    if (!write_all(fd, text) || ::fsync(fd) != 0 || ::rename(temp.c_str(), path.c_str()) != 0 ||
        ::fstat(fd, &st) != 0) {
        const int error = errno;
        ::close(fd);
        ::unlink(temp.c_str());
        forget(store);
        return io_error(error);
    }
    // The rename itself must reach the disk too.
    const int dir_fd = ::open(store_dir(machine).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir_fd >= 0) {
        ::fsync(dir_fd);
        ::close(dir_fd);
    }
    if (store.file_fd >= 0) ::close(store.file_fd);
    store.file_fd = fd;
    store.identity = identity_of(st);
    store.cached = true;
    store.present = true;
    store.corrupt = false;
    store.dirty = false;
    ++writes_;
    return err::kOk;
}

}  // namespace dpl::platform

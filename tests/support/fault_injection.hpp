// A backend that counts the calls that can fail and makes the chosen one
// fail (once, or it and every later one), the way SQLite's test VFS and
// LevelDB's fault-injection environment do. Calls that cannot fail (ids,
// clock-free queries, the line end) pass through uncounted.
#pragma once

#include <cstdint>
#include <string>

#include "platform/forwarding_platform.hpp"

namespace dpl::test {

class FaultInjectionPlatform : public platform::ForwardingPlatform {
public:
    FaultInjectionPlatform() : ForwardingPlatform(platform::native()) { platform::install(this); }
    FaultInjectionPlatform(const FaultInjectionPlatform &) = delete;
    FaultInjectionPlatform &operator=(const FaultInjectionPlatform &) = delete;
    ~FaultInjectionPlatform() override { platform::install(nullptr); }

    // 0: count only. Otherwise call number `call` (from 1) fails, and with
    // `persistent` every call after it too.
    void arm(uint64_t call, bool persistent) {
        fail_at_ = call;
        persistent_ = persistent;
        calls_ = 0;
        failed_ = 0;
        first_failed_.clear();
        failed_delete_ = false;
    }
    uint64_t calls() const { return calls_; }
    uint64_t failed() const { return failed_; }
    const std::string &first_failed() const { return first_failed_; }
    // Whether a deletion was among the failed calls (a file may stay then).
    bool failed_delete() const { return failed_delete_; }

    using Platform = platform::Platform;
    using FileHandle = platform::FileHandle;
    using SysError = platform::SysError;
    using RegKey = platform::RegKey;
    using RegView = platform::RegView;

    FileHandle open_file(const std::string &path, const platform::OpenOptions &options,
                         uint32_t *error) override {
        if (fail("open_file")) return refuse_handle(error);
        return inner_.open_file(path, options, error);
    }
    platform::LockResult lock_file(FileHandle file) override {
        if (fail("lock_file")) return platform::LockResult::Unsupported;
        return inner_.lock_file(file);
    }
    bool unlock_file(FileHandle file) override {
        inner_.unlock_file(file);
        return !fail("unlock_file");
    }
    bool seek_to_end(FileHandle file) override { return !fail("seek_to_end") && inner_.seek_to_end(file); }
    bool write_file(FileHandle file, const void *data, std::size_t size) override {
        return !fail("write_file") && inner_.write_file(file, data, size);
    }
    // A failed close has still released the handle, as on both systems.
    uint32_t close_file(FileHandle file) override {
        const uint32_t rc = inner_.close_file(file);
        return fail("close_file") ? platform::err::kWriteFault : rc;
    }
    bool read_file(FileHandle file, void *buffer, std::size_t size, std::size_t *read) override {
        if (fail("read_file")) {
            if (read != nullptr) *read = 0;
            return false;
        }
        return inner_.read_file(file, buffer, size, read);
    }
    bool local_time(std::tm *out) override { return !fail("local_time") && inner_.local_time(out); }
    bool resolve_host(const std::string &name) override {
        return !fail("resolve_host") && inner_.resolve_host(name);
    }
    platform::PortProbe probe_tcp_port(uint16_t port, uint32_t *error) override {
        if (fail("probe_tcp_port")) {
            *error = 10055;  // WSAENOBUFS
            return platform::PortProbe::SocketFailed;
        }
        return inner_.probe_tcp_port(port, error);
    }
    platform::ServiceQuery query_service(const std::string &name, uint32_t *error) override {
        if (fail("query_service")) {
            *error = 1722;  // RPC_S_SERVER_UNAVAILABLE
            return platform::ServiceQuery::ManagerUnavailable;
        }
        return inner_.query_service(name, error);
    }

    uint32_t reg_connect(const std::string &machine, RegKey root, RegKey *out) override {
        return fail("reg_connect") ? platform::err::kBadNetPath : inner_.reg_connect(machine, root, out);
    }
    uint32_t reg_open_key(RegKey parent, const std::string &path, RegView view, RegKey *out) override {
        return fail("reg_open_key") ? platform::err::kAccessDenied
                                    : inner_.reg_open_key(parent, path, view, out);
    }
    uint32_t reg_create_key(RegKey parent, const std::string &path, RegView view, RegKey *out) override {
        return fail("reg_create_key") ? platform::err::kAccessDenied
                                      : inner_.reg_create_key(parent, path, view, out);
    }
    uint32_t reg_close_key(RegKey key) override {
        const uint32_t rc = inner_.reg_close_key(key);
        return fail("reg_close_key") ? platform::err::kInvalidHandle : rc;
    }
    uint32_t reg_query_info(RegKey key, platform::RegKeyInfo *info) override {
        return fail("reg_query_info") ? platform::err::kAccessDenied : inner_.reg_query_info(key, info);
    }
    uint32_t reg_enum_key(RegKey key, uint32_t index, std::string *name) override {
        return fail("reg_enum_key") ? platform::err::kAccessDenied : inner_.reg_enum_key(key, index, name);
    }
    uint32_t reg_enum_value(RegKey key, uint32_t index, std::string *name,
                            platform::RegValue *value) override {
        return fail("reg_enum_value") ? platform::err::kAccessDenied
                                      : inner_.reg_enum_value(key, index, name, value);
    }
    uint32_t reg_query_value(RegKey key, const std::string &name, platform::RegValue *value) override {
        return fail("reg_query_value") ? platform::err::kAccessDenied
                                       : inner_.reg_query_value(key, name, value);
    }
    uint32_t reg_set_value(RegKey key, const std::string &name, const platform::RegValue &value) override {
        return fail("reg_set_value") ? platform::err::kAccessDenied : inner_.reg_set_value(key, name, value);
    }
    uint32_t reg_delete_value(RegKey key, const std::string &name) override {
        return fail("reg_delete_value") ? platform::err::kAccessDenied : inner_.reg_delete_value(key, name);
    }
    uint32_t reg_delete_tree(RegKey parent, const std::string &subkey, RegView view) override {
        return fail("reg_delete_tree") ? platform::err::kAccessDenied
                                       : inner_.reg_delete_tree(parent, subkey, view);
    }
    // The batch is always ended, so that the store's own bookkeeping stays
    // sound; a failure then reports a store that could not be written.
    uint32_t reg_end_batch() override {
        const uint32_t rc = inner_.reg_end_batch();
        return fail("reg_end_batch") ? platform::err::kRegistryIoFailed : rc;
    }

    bool path_status(const std::string &path, platform::PathStatus *status, SysError *error) override {
        return !refused("path_status", error) && inner_.path_status(path, status, error);
    }
    bool create_directory(const std::string &path, SysError *error) override {
        return !refused("create_directory", error) && inner_.create_directory(path, error);
    }
    std::optional<std::string> short_path(const std::string &path, std::size_t limit) override {
        if (fail("short_path")) return std::nullopt;
        return inner_.short_path(path, limit);
    }
    FileHandle open_descriptor(const std::string &path, const platform::DescriptorOpen &options,
                               SysError *error) override {
        if (refused("open_descriptor", error)) return platform::kNoFile;
        return inner_.open_descriptor(path, options, error);
    }
    bool access_path(const std::string &path, bool read, bool write, SysError *error) override {
        return !refused("access_path", error) && inner_.access_path(path, read, write, error);
    }
    bool read_once(FileHandle file, void *buffer, uint32_t count, uint32_t *done, SysError *error) override {
        return !refused("read_once", error) && inner_.read_once(file, buffer, count, done, error);
    }
    bool write_once(FileHandle file, const void *data, uint32_t count, uint32_t *done,
                    SysError *error) override {
        return !refused("write_once", error) && inner_.write_once(file, data, count, done, error);
    }
    bool read_at(FileHandle file, void *buffer, uint32_t count, DplIoCount *done, DplOverlapped *where,
                 SysError *error) override {
        return !refused("read_at", error) && inner_.read_at(file, buffer, count, done, where, error);
    }
    bool write_at(FileHandle file, const void *data, uint32_t count, DplIoCount *done, DplOverlapped *where,
                  SysError *error) override {
        return !refused("write_at", error) && inner_.write_at(file, data, count, done, where, error);
    }
    bool seek(FileHandle file, int64_t offset, platform::SeekFrom from, int64_t *position,
              SysError *error) override {
        return !refused("seek", error) && inner_.seek(file, offset, from, position, error);
    }
    bool set_end_of_file(FileHandle file, SysError *error) override {
        return !refused("set_end_of_file", error) && inner_.set_end_of_file(file, error);
    }
    bool file_size(FileHandle file, uint64_t *size, SysError *error) override {
        return !refused("file_size", error) && inner_.file_size(file, size, error);
    }
    bool close_descriptor(FileHandle file, SysError *error) override {
        const bool closed = inner_.close_descriptor(file, error);
        return !refused("close_descriptor", error) && closed;
    }
    bool make_deletable(const std::string &path, SysError *error) override {
        return !refused("make_deletable", error) && inner_.make_deletable(path, error);
    }
    bool delete_file(const std::string &path, SysError *error) override {
        if (refused("delete_file", error)) {
            failed_delete_ = true;
            return false;
        }
        return inner_.delete_file(path, error);
    }
    bool list_directory(const std::string &path, std::vector<std::string> *names, SysError *error) override {
        return !refused("list_directory", error) && inner_.list_directory(path, names, error);
    }
    bool flush_file(FileHandle file, SysError *error) override {
        return !refused("flush_file", error) && inner_.flush_file(file, error);
    }
    bool replace_file(const std::string &replacement, const std::string &target, SysError *error) override {
        return !refused("replace_file", error) && inner_.replace_file(replacement, target, error);
    }

private:
    bool fail(const char *call) {
        ++calls_;
        if (fail_at_ == 0 || calls_ < fail_at_ || (calls_ > fail_at_ && !persistent_)) return false;
        if (failed_++ == 0) first_failed_ = call;
        return true;
    }
    bool refused(const char *call, SysError *error) {
        if (!fail(call)) return false;
        if (error != nullptr) *error = SysError{platform::err::kAccessDenied, platform::err::kAccessDenied};
        return true;
    }
    FileHandle refuse_handle(uint32_t *error) {
        if (error != nullptr) *error = platform::err::kAccessDenied;
        return platform::kNoFile;
    }

    uint64_t fail_at_ = 0;
    bool persistent_ = false;
    uint64_t calls_ = 0;
    uint64_t failed_ = 0;
    std::string first_failed_;
    bool failed_delete_ = false;
};

}  // namespace dpl::test

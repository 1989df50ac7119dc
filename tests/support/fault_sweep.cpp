#include "support/fault_sweep.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <optional>

#include "support/installed_platform.hpp"
#include "support/test_support.hpp"

namespace dpl::test {
namespace {

// A backend that counts the calls that can fail, and
// makes the chosen one fail (once, or it and every later one), the way
// SQLite's test VFS and LevelDB's fault-injection environment do. Other calls
// pass through uncounted.
class FaultInjectionPlatform : public InstalledPlatform {
public:
    // 0: count only. Otherwise call number `call` (from 1) fails, and with
    // `persistent` every call after it too.
    void arm(uint64_t call, bool persistent) {
        fail_at_ = call;
        persistent_ = persistent;
        calls = 0;
        first_failed.clear();
        failed_delete = false;
    }

    uint64_t calls = 0;
    std::string first_failed;  // the name of the first call that failed
    // Whether a deletion was among the failed calls (a file may stay then).
    bool failed_delete = false;

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
    platform::PortProbe probe_tcp_port(uint16_t /*port*/, uint32_t *error) override {
        if (fail("probe_tcp_port")) {
            *error = 10055;  // WSAENOBUFS
            return platform::PortProbe::SocketFailed;
        }
        // Not bound for real: the port is not what is swept here, and other
        // tests running at the same moment probe the same one.
        return platform::PortProbe::Clear;
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
    uint32_t reg_set_value(RegKey key, const std::string &name, const platform::RegValue &value) override {
        return fail("reg_set_value") ? platform::err::kAccessDenied : inner_.reg_set_value(key, name, value);
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
    std::optional<std::string> short_path(const std::string &path, std::size_t limit) override {
        if (fail("short_path")) return std::nullopt;
        return inner_.short_path(path, limit);
    }
    bool access_path(const std::string &path, bool read, bool write, SysError *error) override {
        return !refused("access_path", error) && inner_.access_path(path, read, write, error);
    }
    bool delete_file(const std::string &path, SysError *error) override {
        if (refused("delete_file", error)) {
            failed_delete = true;
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

    // Calls the writers make today only on some paths, or not yet: failed too,
    // so that a writer that starts to use one is swept without a change here.
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
    uint32_t reg_delete_value(RegKey key, const std::string &name) override {
        return fail("reg_delete_value") ? platform::err::kAccessDenied : inner_.reg_delete_value(key, name);
    }
    bool create_directory(const std::string &path, SysError *error) override {
        return !refused("create_directory", error) && inner_.create_directory(path, error);
    }
    FileHandle open_descriptor(const std::string &path, const platform::DescriptorOpen &options,
                               SysError *error) override {
        if (refused("open_descriptor", error)) return platform::kNoFile;
        return inner_.open_descriptor(path, options, error);
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

private:
    bool fail(const char *call) {
        ++calls;
        if (fail_at_ == 0 || calls < fail_at_ || (calls > fail_at_ && !persistent_)) return false;
        if (first_failed.empty()) first_failed = call;
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
};

using Snapshot = std::optional<std::string>;

Snapshot snapshot(const std::string &path) {
    if (!std::filesystem::exists(path)) return std::nullopt;
    return read_file(path);
}

std::string shown(const Snapshot &content) {
    if (!content) return "<absent>";
    return std::to_string(content->size()) + " bytes";
}

// Files of an interrupted replacement in the directories of the watched files.
std::vector<std::string> leftovers(const std::vector<WatchedFile> &files) {
    std::vector<std::string> found;
    for (const WatchedFile &file : files) {
        const std::filesystem::path directory = std::filesystem::path(file.path).parent_path();
        std::error_code error;
        for (const auto &entry : std::filesystem::directory_iterator(directory, error)) {
            const std::string name = entry.path().filename().string();
            if (name.find(".dpl-new-") != std::string::npos) found.push_back(entry.path().string());
        }
    }
    return found;
}

bool whole_line_beginning(const std::string &part, const std::string &whole) {
    return whole.compare(0, part.size(), part) == 0 && (part.empty() || part.back() == '\n');
}

struct Expectation {
    std::vector<Snapshot> old_content;
    std::vector<Snapshot> new_content;
};

void check_files(const FaultSweep &sweep, const Expectation &expected, int32_t rc, const std::string &where) {
    for (std::size_t i = 0; i < sweep.files.size(); ++i) {
        const WatchedFile &file = sweep.files[i];
        const Snapshot now = snapshot(file.path);
        const bool new_one = now == expected.new_content[i];
        if (rc == 0 && file.new_on_success) {
            EXPECT_TRUE(new_one) << where << ": " << file.path << " is not new after a success";
            continue;
        }
        const bool old_one = now == expected.old_content[i];
        const bool partial = file.partial_codes.count(rc) == 1 && now && expected.new_content[i] &&
                             whole_line_beginning(*now, *expected.new_content[i]);
        EXPECT_TRUE(old_one || new_one || partial)
            << where << ": " << file.path << " is neither old (" << shown(expected.old_content[i])
            << ") nor new (" << shown(expected.new_content[i]) << ") but " << shown(now);
    }
}

}  // namespace

uint64_t run_fault_sweep(const FaultSweep &sweep) {
    FaultInjectionPlatform faults;
    Expectation expected;

    faults.arm(0, false);
    sweep.prepare();
    for (const WatchedFile &file : sweep.files) expected.old_content.push_back(snapshot(file.path));
    const int32_t clean = sweep.run();
    const uint64_t total = faults.calls;
    sweep.release();
    EXPECT_EQ(0, clean) << "the run without faults";
    for (const WatchedFile &file : sweep.files) expected.new_content.push_back(snapshot(file.path));
    EXPECT_TRUE(leftovers(sweep.files).empty()) << "the run without faults left a replacement file";
    std::cout << "[ sweep    ] " << total << " calls, each failed once and from then on\n";

    for (const bool persistent : {false, true}) {
        for (uint64_t call = 1; call <= total; ++call) {
            faults.arm(0, false);
            sweep.prepare();
            faults.arm(call, persistent);
            const int32_t rc = sweep.run();
            const std::string where = std::string(persistent ? "from call " : "call ") +
                                      std::to_string(call) + " of " + std::to_string(total) + " failing (" +
                                      faults.first_failed + ")";
            const bool deletion_failed = faults.failed_delete;
            faults.arm(0, false);
            sweep.release();
            EXPECT_TRUE(sweep.codes.count(rc) == 1) << where << ": undocumented result " << rc;
            check_files(sweep, expected, rc, where);
            if (leftovers(sweep.files).empty()) continue;
            // Only a refused deletion may leave a replacement behind, and the
            // next write of the file removes it.
            EXPECT_TRUE(deletion_failed) << where << ": a replacement file was left behind";
            sweep.prepare();
            EXPECT_EQ(0, sweep.run()) << where << ": the write after it";
            sweep.release();
            EXPECT_TRUE(leftovers(sweep.files).empty())
                << where << ": the next write left a replacement file";
        }
    }
    return total;
}

}  // namespace dpl::test

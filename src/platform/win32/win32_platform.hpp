// The Win32 backend: every platform call maps onto the narrow (ANSI) Windows
// API, and every error code is the one Windows itself reported.
#pragma once

#include <windows.h>

#include "platform/platform.hpp"

namespace dpl::platform::win32 {

// The handle types travel through the portable interface as integers of
// pointer width, so converting back and forth loses nothing.
inline HANDLE to_handle(FileHandle file) {
    return reinterpret_cast<HANDLE>(file);
}
inline FileHandle from_handle(HANDLE handle) {
    return reinterpret_cast<FileHandle>(handle);
}
inline HKEY to_hkey(RegKey key) {
    return reinterpret_cast<HKEY>(key);
}
inline RegKey from_hkey(HKEY key) {
    return reinterpret_cast<RegKey>(key);
}

// kNoFile is INVALID_HANDLE_VALUE, which the kernel would take for the
// current-process pseudo-handle, and 0 is no handle at all: neither may
// reach a file call.
inline bool unusable(FileHandle file) {
    return file == kNoFile || file == 0;
}

inline DWORD creation_disposition(Disposition disposition) {
    switch (disposition) {
        case Disposition::CreateNew:
            return CREATE_NEW;
        case Disposition::CreateAlways:
            return CREATE_ALWAYS;
        case Disposition::OpenExisting:
            return OPEN_EXISTING;
        case Disposition::OpenAlways:
            return OPEN_ALWAYS;
        case Disposition::TruncateExisting:
            return TRUNCATE_EXISTING;
    }
    return OPEN_EXISTING;
}

class Win32Platform final : public Platform {
public:
    FileHandle open_file(const std::string &path, const OpenOptions &options, uint32_t *error) override;
    FileHandle std_handle(StdStream stream) override;
    LockResult lock_file(FileHandle file) override;
    bool unlock_file(FileHandle file) override;
    bool seek_to_end(FileHandle file) override;
    bool write_file(FileHandle file, const void *data, std::size_t size) override;
    uint32_t close_file(FileHandle file) override;
    bool read_file(FileHandle file, void *buffer, std::size_t size, std::size_t *read) override;
    const char *text_line_end() override;

    std::optional<std::string> get_env(const std::string &name) override;
    uint32_t process_id() override;
    uint32_t thread_id() override;
    bool local_time(std::tm *out) override;
    void sleep_ms(uint32_t milliseconds) override;
    int last_errno() override;

    std::string services_database_path() override;

    bool resolve_host(const std::string &name) override;
    PortProbe probe_tcp_port(uint16_t port, uint32_t *error) override;
    ServiceQuery query_service(const std::string &name, uint32_t *error) override;

    uint32_t reg_connect(const std::string &machine, RegKey root, RegKey *out) override;
    uint32_t reg_open_key(RegKey parent, const std::string &path, RegView view, RegKey *out) override;
    uint32_t reg_create_key(RegKey parent, const std::string &path, RegView view, RegKey *out) override;
    uint32_t reg_close_key(RegKey key) override;
    uint32_t reg_query_info(RegKey key, RegKeyInfo *info) override;
    uint32_t reg_enum_key(RegKey key, uint32_t index, std::string *name) override;
    uint32_t reg_enum_value(RegKey key, uint32_t index, std::string *name, RegValue *value) override;
    uint32_t reg_query_value(RegKey key, const std::string &name, RegValue *value) override;
    uint32_t reg_set_value(RegKey key, const std::string &name, const RegValue &value) override;
    uint32_t reg_delete_value(RegKey key, const std::string &name) override;
    uint32_t reg_delete_tree(RegKey parent, const std::string &subkey, RegView view) override;
    void reg_begin_batch() override;
    uint32_t reg_end_batch() override;

    // File system and descriptor I/O (win32_fileio.cpp).
    char path_separator() override;
    bool path_status(const std::string &path, PathStatus *status, SysError *error) override;
    bool create_directory(const std::string &path, SysError *error) override;
    std::optional<std::string> short_path(const std::string &path, std::size_t limit) override;
    FileHandle open_descriptor(const std::string &path, const DescriptorOpen &options,
                               SysError *error) override;
    bool access_path(const std::string &path, bool read, bool write, SysError *error) override;
    bool read_once(FileHandle file, void *buffer, uint32_t count, uint32_t *done, SysError *error) override;
    bool write_once(FileHandle file, const void *data, uint32_t count, uint32_t *done,
                    SysError *error) override;
    bool read_at(FileHandle file, void *buffer, uint32_t count, DplIoCount *done, DplOverlapped *where,
                 SysError *error) override;
    bool write_at(FileHandle file, const void *data, uint32_t count, DplIoCount *done, DplOverlapped *where,
                  SysError *error) override;
    bool seek(FileHandle file, int64_t offset, SeekFrom from, int64_t *position, SysError *error) override;
    bool set_end_of_file(FileHandle file, SysError *error) override;
    bool file_size(FileHandle file, uint64_t *size, SysError *error) override;
    bool close_descriptor(FileHandle file, SysError *error) override;
    bool make_deletable(const std::string &path, SysError *error) override;
    bool delete_file(const std::string &path, SysError *error) override;

    // Accounts, groups and rights (win32_accounts.cpp).
    uint32_t account_installing_user(AccountIdentity *out) override;
    uint32_t account_computer_name(std::string *out) override;
    uint32_t account_domain_controller(std::string *out) override;
    uint32_t account_open_policy(const std::string &server, PolicyHandle *out, int32_t *status) override;
    void account_close_policy(PolicyHandle policy) override;
    uint32_t account_administrators_group(std::string *out) override;
    uint32_t account_find_group(const std::string &server, GroupScope scope,
                                const std::string &name) override;
    uint32_t account_find_user(const std::string &server, const std::string &name) override;
    uint32_t account_add_group(const std::string &server, GroupScope scope, const std::string &name,
                               const std::string &comment) override;
    uint32_t account_delete_group(const std::string &server, GroupScope scope,
                                  const std::string &name) override;
    uint32_t account_add_member(const std::string &server, GroupScope scope, const std::string &group,
                                const std::string &member) override;
    uint32_t account_add_user(const std::string &server, const NewUser &user) override;
    uint32_t account_delete_user(const std::string &server, const std::string &name) override;
    uint32_t account_lookup_sid(const std::string &name, std::string *sid) override;
    uint32_t account_add_right(PolicyHandle policy, const std::string &sid,
                               const std::string &right) override;
    uint32_t account_remove_right(PolicyHandle policy, const std::string &sid,
                                  const std::string &right) override;
    uint32_t account_logon(const std::string &domain, const std::string &user,
                           const std::string &password) override;
    bool secure_random(void *buffer, std::size_t size) override;
    bool remove_directory(const std::string &path, SysError *error) override;

    // Service manager (win32_services.cpp).
    uint32_t sc_open_manager(const std::string &database, ScHandle *out) override;
    uint32_t sc_open_service(ScHandle manager, const std::string &name, uint32_t access,
                             ScHandle *out) override;
    uint32_t sc_create_service(ScHandle manager, const ServiceDefinition &service, ScHandle *out) override;
    uint32_t sc_set_description(ScHandle service, const std::string &description) override;
    uint32_t sc_delete_service(ScHandle service) override;
    uint32_t sc_control_stop(ScHandle service, ServiceStatus *status) override;
    uint32_t sc_query_status(ScHandle service, ServiceStatus *status) override;
    uint32_t sc_close(ScHandle handle) override;
    // Whole-file replacement (win32_replace.cpp).
    bool list_directory(const std::string &path, std::vector<std::string> *names, SysError *error) override;
    bool process_running(uint32_t process_id) override;
    bool flush_file(FileHandle file, SysError *error) override;
    bool replace_file(const std::string &replacement, const std::string &target, SysError *error) override;
    // System figures (win32_system.cpp).
    bool device_number(const std::string &path, uint32_t *device, SysError *error) override;
    bool volume_space(const std::string &directory, VolumeSpace *space, SysError *error) override;
    uint32_t processor_count() override;
    uint64_t physical_memory_bytes() override;
    std::optional<uint32_t> processor_mhz() override;
    uint64_t ticks() override;
    std::optional<int64_t> tick_rate() override;
    // Running-instance markers (win32_markers.cpp); command processor and
    // program groups (win32_shell.cpp).
    bool instance_marker_exists(const std::string &name) override;
    bool create_instance_marker(const std::string &name) override;
    bool release_instance_marker(const std::string &name) override;
    bool run_command(const std::string &command, uint32_t *exit_status, SysError *error) override;
    std::optional<std::string> common_programs_folder() override;
    bool remove_directory_tree(const std::string &path, SysError *error) override;
};

}  // namespace dpl::platform::win32

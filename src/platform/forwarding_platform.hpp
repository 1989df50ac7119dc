// A backend that hands every call to another one. Tests derive from it and
// override the one call whose failure they want to provoke.
#pragma once

#include "platform/platform.hpp"

namespace dpl::platform {

class ForwardingPlatform : public Platform {
public:
    explicit ForwardingPlatform(Platform &inner) : inner_(inner) {}

    FileHandle open_file(const std::string &path, const OpenOptions &options, uint32_t *error) override {
        return inner_.open_file(path, options, error);
    }
    FileHandle std_handle(StdStream stream) override { return inner_.std_handle(stream); }
    LockResult lock_file(FileHandle file) override { return inner_.lock_file(file); }
    bool unlock_file(FileHandle file) override { return inner_.unlock_file(file); }
    bool seek_to_end(FileHandle file) override { return inner_.seek_to_end(file); }
    bool write_file(FileHandle file, const void *data, std::size_t size) override {
        return inner_.write_file(file, data, size);
    }
    uint32_t close_file(FileHandle file) override { return inner_.close_file(file); }
    bool read_file(FileHandle file, void *buffer, std::size_t size, std::size_t *read) override {
        return inner_.read_file(file, buffer, size, read);
    }
    const char *text_line_end() override { return inner_.text_line_end(); }
    bool resolve_host(const std::string &name) override { return inner_.resolve_host(name); }
    PortProbe probe_tcp_port(uint16_t port, uint32_t *error) override {
        return inner_.probe_tcp_port(port, error);
    }
    ServiceQuery query_service(const std::string &name, uint32_t *error) override {
        return inner_.query_service(name, error);
    }
    std::optional<std::string> get_env(const std::string &name) override { return inner_.get_env(name); }
    uint32_t process_id() override { return inner_.process_id(); }
    uint32_t thread_id() override { return inner_.thread_id(); }
    bool local_time(std::tm *out) override { return inner_.local_time(out); }
    void sleep_ms(uint32_t milliseconds) override { inner_.sleep_ms(milliseconds); }
    int last_errno() override { return inner_.last_errno(); }
    std::string services_database_path() override { return inner_.services_database_path(); }
    uint32_t reg_connect(const std::string &machine, RegKey root, RegKey *out) override {
        return inner_.reg_connect(machine, root, out);
    }
    uint32_t reg_open_key(RegKey parent, const std::string &path, RegView view, RegKey *out) override {
        return inner_.reg_open_key(parent, path, view, out);
    }
    uint32_t reg_create_key(RegKey parent, const std::string &path, RegView view, RegKey *out) override {
        return inner_.reg_create_key(parent, path, view, out);
    }
    uint32_t reg_close_key(RegKey key) override { return inner_.reg_close_key(key); }
    uint32_t reg_query_info(RegKey key, RegKeyInfo *info) override {
        return inner_.reg_query_info(key, info);
    }
    uint32_t reg_enum_key(RegKey key, uint32_t index, std::string *name) override {
        return inner_.reg_enum_key(key, index, name);
    }
    uint32_t reg_enum_value(RegKey key, uint32_t index, std::string *name, RegValue *value) override {
        return inner_.reg_enum_value(key, index, name, value);
    }
    uint32_t reg_query_value(RegKey key, const std::string &name, RegValue *value) override {
        return inner_.reg_query_value(key, name, value);
    }
    uint32_t reg_set_value(RegKey key, const std::string &name, const RegValue &value) override {
        return inner_.reg_set_value(key, name, value);
    }
    uint32_t reg_delete_value(RegKey key, const std::string &name) override {
        return inner_.reg_delete_value(key, name);
    }
    uint32_t reg_delete_tree(RegKey parent, const std::string &subkey, RegView view) override {
        return inner_.reg_delete_tree(parent, subkey, view);
    }
    void reg_begin_batch() override { inner_.reg_begin_batch(); }
    uint32_t reg_end_batch() override { return inner_.reg_end_batch(); }

    char path_separator() override { return inner_.path_separator(); }
    bool path_status(const std::string &path, PathStatus *status, SysError *error) override {
        return inner_.path_status(path, status, error);
    }
    bool create_directory(const std::string &path, SysError *error) override {
        return inner_.create_directory(path, error);
    }
    std::optional<std::string> short_path(const std::string &path, std::size_t limit) override {
        return inner_.short_path(path, limit);
    }
    FileHandle open_descriptor(const std::string &path, const DescriptorOpen &options,
                               SysError *error) override {
        return inner_.open_descriptor(path, options, error);
    }
    bool access_path(const std::string &path, bool read, bool write, SysError *error) override {
        return inner_.access_path(path, read, write, error);
    }
    bool read_once(FileHandle file, void *buffer, uint32_t count, uint32_t *done, SysError *error) override {
        return inner_.read_once(file, buffer, count, done, error);
    }
    bool write_once(FileHandle file, const void *data, uint32_t count, uint32_t *done,
                    SysError *error) override {
        return inner_.write_once(file, data, count, done, error);
    }
    bool read_at(FileHandle file, void *buffer, uint32_t count, DplIoCount *done, DplOverlapped *where,
                 SysError *error) override {
        return inner_.read_at(file, buffer, count, done, where, error);
    }
    bool write_at(FileHandle file, const void *data, uint32_t count, DplIoCount *done, DplOverlapped *where,
                  SysError *error) override {
        return inner_.write_at(file, data, count, done, where, error);
    }
    bool seek(FileHandle file, int64_t offset, SeekFrom from, int64_t *position, SysError *error) override {
        return inner_.seek(file, offset, from, position, error);
    }
    bool set_end_of_file(FileHandle file, SysError *error) override {
        return inner_.set_end_of_file(file, error);
    }
    bool file_size(FileHandle file, uint64_t *size, SysError *error) override {
        return inner_.file_size(file, size, error);
    }
    bool close_descriptor(FileHandle file, SysError *error) override {
        return inner_.close_descriptor(file, error);
    }
    bool make_deletable(const std::string &path, SysError *error) override {
        return inner_.make_deletable(path, error);
    }
    bool delete_file(const std::string &path, SysError *error) override {
        return inner_.delete_file(path, error);
    }
    bool remove_directory(const std::string &path, SysError *error) override {
        return inner_.remove_directory(path, error);
    }

    uint32_t sc_open_manager(const std::string &database, ScHandle *out) override {
        return inner_.sc_open_manager(database, out);
    }
    uint32_t sc_open_service(ScHandle manager, const std::string &name, uint32_t access,
                             ScHandle *out) override {
        return inner_.sc_open_service(manager, name, access, out);
    }
    uint32_t sc_create_service(ScHandle manager, const ServiceDefinition &service, ScHandle *out) override {
        return inner_.sc_create_service(manager, service, out);
    }
    uint32_t sc_set_description(ScHandle service, const std::string &description) override {
        return inner_.sc_set_description(service, description);
    }
    uint32_t sc_delete_service(ScHandle service) override { return inner_.sc_delete_service(service); }
    uint32_t sc_control_stop(ScHandle service, ServiceStatus *status) override {
        return inner_.sc_control_stop(service, status);
    }
    uint32_t sc_query_status(ScHandle service, ServiceStatus *status) override {
        return inner_.sc_query_status(service, status);
    }
    uint32_t sc_close(ScHandle handle) override { return inner_.sc_close(handle); }

    uint32_t account_installing_user(AccountIdentity *out) override {
        return inner_.account_installing_user(out);
    }
    uint32_t account_computer_name(std::string *out) override { return inner_.account_computer_name(out); }
    uint32_t account_domain_controller(std::string *out) override {
        return inner_.account_domain_controller(out);
    }
    uint32_t account_open_policy(const std::string &server, PolicyHandle *out, int32_t *status) override {
        return inner_.account_open_policy(server, out, status);
    }
    void account_close_policy(PolicyHandle policy) override { inner_.account_close_policy(policy); }
    uint32_t account_administrators_group(std::string *out) override {
        return inner_.account_administrators_group(out);
    }
    uint32_t account_find_group(const std::string &server, GroupScope scope,
                                const std::string &name) override {
        return inner_.account_find_group(server, scope, name);
    }
    uint32_t account_find_user(const std::string &server, const std::string &name) override {
        return inner_.account_find_user(server, name);
    }
    uint32_t account_add_group(const std::string &server, GroupScope scope, const std::string &name,
                               const std::string &comment) override {
        return inner_.account_add_group(server, scope, name, comment);
    }
    uint32_t account_delete_group(const std::string &server, GroupScope scope,
                                  const std::string &name) override {
        return inner_.account_delete_group(server, scope, name);
    }
    uint32_t account_add_member(const std::string &server, GroupScope scope, const std::string &group,
                                const std::string &member) override {
        return inner_.account_add_member(server, scope, group, member);
    }
    uint32_t account_add_user(const std::string &server, const NewUser &user) override {
        return inner_.account_add_user(server, user);
    }
    uint32_t account_delete_user(const std::string &server, const std::string &name) override {
        return inner_.account_delete_user(server, name);
    }
    uint32_t account_lookup_sid(const std::string &name, std::string *sid) override {
        return inner_.account_lookup_sid(name, sid);
    }
    uint32_t account_add_right(PolicyHandle policy, const std::string &sid,
                               const std::string &right) override {
        return inner_.account_add_right(policy, sid, right);
    }
    uint32_t account_remove_right(PolicyHandle policy, const std::string &sid,
                                  const std::string &right) override {
        return inner_.account_remove_right(policy, sid, right);
    }
    uint32_t account_logon(const std::string &domain, const std::string &user,
                           const std::string &password) override {
        return inner_.account_logon(domain, user, password);
    }
    bool secure_random(void *buffer, std::size_t size) override { return inner_.secure_random(buffer, size); }

    bool list_directory(const std::string &path, std::vector<std::string> *names, SysError *error) override {
        return inner_.list_directory(path, names, error);
    }
    bool process_running(uint32_t process_id) override { return inner_.process_running(process_id); }
    bool flush_file(FileHandle file, SysError *error) override { return inner_.flush_file(file, error); }
    bool replace_file(const std::string &replacement, const std::string &target, SysError *error) override {
        return inner_.replace_file(replacement, target, error);
    }

    bool device_number(const std::string &path, uint32_t *device, SysError *error) override {
        return inner_.device_number(path, device, error);
    }
    bool volume_space(const std::string &directory, VolumeSpace *space, SysError *error) override {
        return inner_.volume_space(directory, space, error);
    }
    uint32_t processor_count() override { return inner_.processor_count(); }
    uint64_t physical_memory_bytes() override { return inner_.physical_memory_bytes(); }
    std::optional<uint32_t> processor_mhz() override { return inner_.processor_mhz(); }
    uint64_t ticks() override { return inner_.ticks(); }
    std::optional<int64_t> tick_rate() override { return inner_.tick_rate(); }

    bool instance_marker_exists(const std::string &name) override {
        return inner_.instance_marker_exists(name);
    }
    bool create_instance_marker(const std::string &name) override {
        return inner_.create_instance_marker(name);
    }
    bool release_instance_marker(const std::string &name) override {
        return inner_.release_instance_marker(name);
    }
    bool run_command(const std::string &command, uint32_t *exit_status, SysError *error) override {
        return inner_.run_command(command, exit_status, error);
    }
    std::optional<std::string> common_programs_folder() override { return inner_.common_programs_folder(); }
    bool remove_directory_tree(const std::string &path, SysError *error) override {
        return inner_.remove_directory_tree(path, error);
    }

protected:
    Platform &inner_;
};

}  // namespace dpl::platform

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
    PortProbe probe_tcp_port(uint16_t port, uint32_t *error) override { return inner_.probe_tcp_port(port, error); }
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

protected:
    Platform &inner_;
};

}  // namespace dpl::platform

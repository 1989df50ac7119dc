// POSIX side of the file-system and descriptor calls of the platform
// interface. Errors carry errno and the Windows code of the same condition.
#pragma once

#include <cerrno>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/platform.hpp"

namespace dpl::platform::posix {

// open(2) flags for an access and a Windows-style disposition.
int access_flags(bool read, bool write, Disposition disposition);

// The Windows code nearest to an errno value.
uint32_t win32_code_of(int error_number);

bool path_status(const std::string &path, PathStatus *status, SysError *error);
bool create_directory(const std::string &path, SysError *error);
FileHandle open_descriptor(const std::string &path, const DescriptorOpen &options, SysError *error);
bool access_path(const std::string &path, bool read, bool write, SysError *error);
bool read_once(FileHandle file, void *buffer, uint32_t count, uint32_t *done, SysError *error);
bool write_once(FileHandle file, const void *data, uint32_t count, uint32_t *done, SysError *error);
bool read_at(FileHandle file, void *buffer, uint32_t count, DplIoCount *done, DplOverlapped *where,
             SysError *error);
bool write_at(FileHandle file, const void *data, uint32_t count, DplIoCount *done, DplOverlapped *where,
              SysError *error);
bool seek(FileHandle file, int64_t offset, SeekFrom from, int64_t *position, SysError *error);
bool set_end_of_file(FileHandle file, SysError *error);
bool file_size(FileHandle file, uint64_t *size, SysError *error);
bool close_descriptor(FileHandle file, SysError *error);
bool delete_file(const std::string &path, SysError *error);
bool remove_directory(const std::string &path, SysError *error);

// Whole-file replacement (posix_replace.cpp).
bool list_directory(const std::string &path, std::vector<std::string> *names, SysError *error);
bool process_running(uint32_t process_id);
bool flush_file(FileHandle file, SysError *error);
bool replace_file(const std::string &replacement, const std::string &target, SysError *error);

}  // namespace dpl::platform::posix

// The file layer's tests: standard output captured, scratch files, and
// failures of single platform calls on request.
#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <optional>
#include <string>

#include "dpl/dpl.h"
#include "support/recording_platform.hpp"
#include "support/test_support.hpp"

namespace dpl::test {

#ifdef _WIN32
inline constexpr bool kWindows = true;
#else
inline constexpr bool kWindows = false;
#endif

// The code a report prints: Windows' own on Windows, errno elsewhere.
inline std::string system_code(uint32_t windows_code, int posix_errno) {
    return std::to_string(kWindows ? static_cast<int>(windows_code) : posix_errno);
}

inline std::string report(const std::string &call, const std::string &code, int line) {
    return call + ": w32ec=" + code + " at API/nt_filio:" + std::to_string(line) + "\n";
}

class FaultyFiles : public RecordingPlatform {
public:
    using SysError = platform::SysError;
    using FileHandle = platform::FileHandle;

    bool seek(FileHandle file, int64_t offset, platform::SeekFrom from, int64_t *position,
              SysError *error) override {
        if (seek_error) return fail(*seek_error, error);
        return RecordingPlatform::seek(file, offset, from, position, error);
    }
    bool set_end_of_file(FileHandle file, SysError *error) override {
        if (end_error) return fail(*end_error, error);
        return RecordingPlatform::set_end_of_file(file, error);
    }
    bool file_size(FileHandle file, uint64_t *size, SysError *error) override {
        if (size_error) return fail(*size_error, error);
        return RecordingPlatform::file_size(file, size, error);
    }
    bool read_at(FileHandle file, void *buffer, uint32_t count, DplIoCount *done, DplOverlapped *where,
                 SysError *error) override {
        if (transfer_error) return fail(*transfer_error, error);
        return RecordingPlatform::read_at(file, buffer, count, done, where, error);
    }
    bool write_at(FileHandle file, const void *data, uint32_t count, DplIoCount *done, DplOverlapped *where,
                  SysError *error) override {
        if (transfer_error) return fail(*transfer_error, error);
        return RecordingPlatform::write_at(file, data, count, done, where, error);
    }
    bool close_descriptor(FileHandle file, SysError *error) override {
        ++closes;
        return RecordingPlatform::close_descriptor(file, error);
    }
    bool access_path(const std::string &path, bool read, bool write, SysError *error) override {
        ++access_checks;
        return RecordingPlatform::access_path(path, read, write, error);
    }
    FileHandle std_handle(platform::StdStream stream) override {
        if (stream == platform::StdStream::Error && no_standard_error) return platform::kNoFile;
        return RecordingPlatform::std_handle(stream);
    }
    // Descriptor 1 and 2 reach these handles; what is written there is kept.
    bool write_once(FileHandle file, const void *data, uint32_t count, uint32_t *done,
                    SysError *error) override {
        if (file == std_handle(platform::StdStream::Output) ||
            file == std_handle(platform::StdStream::Error)) {
            (file == std_handle(platform::StdStream::Output) ? written_out : written_err)
                .append(static_cast<const char *>(data), count);
            *done = count;
            return true;
        }
        return RecordingPlatform::write_once(file, data, count, done, error);
    }

    std::optional<SysError> seek_error, end_error, size_error, transfer_error;
    bool no_standard_error = false;
    int closes = 0;
    int access_checks = 0;
    std::string written_out, written_err;

private:
    static bool fail(const SysError &given, SysError *error) {
        *error = given;
        return false;
    }
};

class FileIoTest : public ::testing::Test {
protected:
    void SetUp() override { errno = 0; }
    FaultyFiles os;
    ScratchDir dir;
};

}  // namespace dpl::test

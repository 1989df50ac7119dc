#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "dpl/dpl.h"

namespace {

TEST(FileIoErrno, WindowsCodesMapToTheRuntimesErrno) {
    const struct {
        uint32_t code;
        int32_t error;
    } cases[] = {
        {2, ENOENT},    {3, ENOENT},
        {20, ENOENT},   {55, ENOENT},
        {161, ENOENT},  {267, ENOENT},
        {5, EACCES},    {32, EACCES},
        {33, EACCES},   {65, EACCES},
        {6, EBADF},     {8, ENOMEM},
        {14, ENOMEM},   {1453, ENOMEM},
        {1454, ENOMEM}, {38, ENXIO},
        {54, EBUSY},    {148, EBUSY},
        {80, EEXIST},   {183, EEXIST},
        {87, EINVAL},   {110, EIO},
        {995, EIO},     {996, EIO},
        {1117, EIO},    {111, ENAMETOOLONG},
        {997, EDEADLK}, {1455, E2BIG},
        {1784, EFAULT}, {0, 0},
        {1, 0},         {4, 0},
        {31, 0},        {112, 0},
        {206, 0},       {1452, 0},
        {1456, 0},      {0xFFFFFFFFu, 0},
    };
    for (const auto &c : cases) EXPECT_EQ(c.error, nt_errno_from_win32(c.code)) << c.code;
#ifdef _WIN32
    // The Windows runtime's own numbers.
    EXPECT_EQ(38, nt_errno_from_win32(111));
    EXPECT_EQ(36, nt_errno_from_win32(997));
    EXPECT_EQ(7, nt_errno_from_win32(1455));
#endif
}

TEST(FileIoErrno, RawDriveNames) {
    const struct {
        const char *path;
        int32_t device;
    } cases[] = {
        {"\\\\.\\PhysicalDrive0", 1},
        {"//./physicaldrive12", 1},
        {"\\\\.\\PHYSICALDRIVE", 1},
        {"//./PhysicalDrive0/extra/parts/that/go/on/past/thirty-one", 1},
        {"//./c:", 1},
        {"\\\\.\\C:", 1},
        {"//.//:", 1},
        {"//./c:/x", 0},
        {"//./c:\\", 0},
        {"//./cc:", 0},
        {"//./c", 0},
        {"//./physicaldriv", 0},
        {"//?/PhysicalDrive0", 0},
        {"///physicaldrive0", 0},
        {"C:\\x", 0},
        {"", 0},
    };
    for (const auto &c : cases) EXPECT_EQ(c.device, nt_is_device(c.path)) << c.path;
    EXPECT_EQ(0, nt_is_device(nullptr));
    // Only the first 31 characters are looked at.
    EXPECT_EQ(0, nt_is_device((std::string(31, 'x') + "//./c:").c_str()));
}

}  // namespace

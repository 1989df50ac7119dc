// nt_errno_from_win32: the one table from Windows error codes to the C
// runtime's errno values.
#include <cerrno>

#include "dpl/dpl.h"

extern "C" int32_t nt_errno_from_win32(uint32_t code) {
    switch (code) {
        case 2:    // ERROR_FILE_NOT_FOUND
        case 3:    // ERROR_PATH_NOT_FOUND
        case 20:   // ERROR_BAD_UNIT
        case 55:   // ERROR_DEV_NOT_EXIST
        case 161:  // ERROR_BAD_PATHNAME
        case 267:  // ERROR_DIRECTORY
            return ENOENT;
        case 5:   // ERROR_ACCESS_DENIED
        case 32:  // ERROR_SHARING_VIOLATION
        case 33:  // ERROR_LOCK_VIOLATION
        case 65:  // ERROR_NETWORK_ACCESS_DENIED
            return EACCES;
        case 6:  // ERROR_INVALID_HANDLE
            return EBADF;
        case 8:     // ERROR_NOT_ENOUGH_MEMORY
        case 14:    // ERROR_OUTOFMEMORY
        case 1453:  // ERROR_WORKING_SET_QUOTA
        case 1454:  // ERROR_PAGEFILE_QUOTA
            return ENOMEM;
        case 38:  // ERROR_HANDLE_EOF
            return ENXIO;
        case 54:   // ERROR_NETWORK_BUSY
        case 148:  // ERROR_PATH_BUSY
            return EBUSY;
        case 80:   // ERROR_FILE_EXISTS
        case 183:  // ERROR_ALREADY_EXISTS
            return EEXIST;
        case 87:  // ERROR_INVALID_PARAMETER
            return EINVAL;
        case 110:   // ERROR_OPEN_FAILED
        case 995:   // ERROR_OPERATION_ABORTED
        case 996:   // ERROR_IO_INCOMPLETE
        case 1117:  // ERROR_IO_DEVICE
            return EIO;
        case 111:  // ERROR_BUFFER_OVERFLOW (file name too long)
            return ENAMETOOLONG;
        case 997:  // ERROR_IO_PENDING
            return EDEADLK;
        case 1455:  // ERROR_COMMITMENT_LIMIT
            return E2BIG;
        case 1784:  // ERROR_INVALID_USER_BUFFER
            return EFAULT;
        default:
            return 0;
    }
}

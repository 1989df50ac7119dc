/*
 * dpl: deployment library for the Orvandex database server.
 *
 * Plain C interface. Every status is an int32_t: 0 for success, a negative
 * DPL_E_ code for failure. Texts the library makes for the caller are freed
 * with dplFree; texts returned by lookups stay owned by the library.
 */
#ifndef DPL_DPL_H
#define DPL_DPL_H

#include <stdint.h>
/* struct stat of the C runtime, which nt_stat and nt_fstat fill; MSVC wants
   <sys/types.h> before <sys/stat.h>. */
#include <sys/types.h>

#include <sys/stat.h>

#if defined(_WIN32)
#if defined(DPL_BUILDING)
#define DPL_API __declspec(dllexport)
#elif defined(DPL_STATIC)
#define DPL_API
#else
#define DPL_API __declspec(dllimport)
#endif
#elif defined(__GNUC__) || defined(__clang__)
#define DPL_API __attribute__((visibility("default")))
#else
#define DPL_API
#endif

/* printf-style checking of the trace calls, so that a non-literal format is
   caught by the compiler of every caller. */
#if defined(__MINGW32__)
#define DPL_PRINTF(fmt, first) __attribute__((format(gnu_printf, fmt, first)))
#elif defined(__GNUC__) || defined(__clang__)
#define DPL_PRINTF(fmt, first) __attribute__((format(printf, fmt, first)))
#else
#define DPL_PRINTF(fmt, first)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- status codes ------------------------------------------------------ */

#define DPL_OK 0
#define DPL_NOTHING_TO_DEPLOY 1000
#define DPL_E_FAIL (-1)
#define DPL_E_PRODUCT_STRING (-938)
#define DPL_E_REMOTE_CONNECT (-940)
#define DPL_E_REG_NO_VALUES (-943)
#define DPL_E_REG_NO_SUBKEYS (-944)
#define DPL_E_STAGE (-945)
#define DPL_E_PARSE (-946)
#define DPL_E_BAD_CONTEXT (-947)
#define DPL_E_REG_READ (-948)
#define DPL_E_PATH_EMPTY_FILE (-949)
#define DPL_E_PATH_FILE (-950)
#define DPL_E_OPEN_READ (-951)
#define DPL_E_OPEN_WRITE (-952)
#define DPL_E_MEMORY_ABOVE_MAX (-953)
#define DPL_E_SPACE_ABOVE_FREE (-954)
#define DPL_E_DISK_ABOVE_LOCATIONS (-955)
#define DPL_E_LOG_SPACE_KIND (-956)
#define DPL_E_SETTING_RANGE (-957)
#define DPL_E_SETTING_CPUS_ZERO (-960)
#define DPL_E_SETTING_MEMORY (-961)
#define DPL_E_SETTING_CPUS (-962)
#define DPL_E_SETTING_RTO (-963)
#define DPL_E_SETTING_USERS (-964)
#define DPL_E_SETTING_SERVERTYPE (-965)
#define DPL_E_INVALID_VALUE (-966)
#define DPL_E_NULL_ARGUMENT (-967)
#define DPL_E_PORT_IN_USE (-970)
#define DPL_E_PATH_CREATE (-971)
#define DPL_E_PATH_DIRECTORY (-972)
#define DPL_E_PATH_MISSING (-975)
#define DPL_E_DISK_SLOW (-976)
#define DPL_E_NO_DIRECTORY (-980)
#define DPL_E_NO_ACCOUNT (-982)
#define DPL_E_RIGHTS (-983)
#define DPL_E_MEMBERSHIP (-984)
#define DPL_E_LOGON (-985)
#define DPL_E_ACCOUNT_UNDEFINED (-986)
#define DPL_E_ACCOUNT_NOT_MADE (-987)
#define DPL_E_NO_COMPUTER_NAME (-988)
#define DPL_E_DOMAIN_ACCOUNTS (-989)
#define DPL_E_VERSION_UNKNOWN (-993)
#define DPL_E_NO_CREDENTIALS (-995)
#define DPL_E_NOT_ADMIN (-997)
#define DPL_E_UNKNOWEN_USER_PROPERTY (-999)
#define DPL_E_NOMEM (-1000)

/* status codes */
#define DPL_E_NO_UNINSTALL (-941)
#define DPL_E_PRODUCT_KIND (-994)

/* The first 32 bits of a control block. */
#define DPL_BLOCK_MAGIC 0x5844504Cu
/* The first 32 bits of an instance. */
#define DPL_INSTANCE_MAGIC 0x54534E49u

/* Mode flags of a control block. */
#define DPL_MODE_PRIVATE 0x2u
#define DPL_MODE_NO_PORT_TEST 0x4u
#define DPL_MODE_NO_SQL 0x8u

/* Where an instance's connection list came from. */
#define DPL_SQLHOSTS_FILE 0
#define DPL_SQLHOSTS_LOCAL_REGISTRY 1
#define DPL_SQLHOSTS_REMOTE_REGISTRY 2

/* Kinds of a connection list entry. */
#define DPL_CONNECTION_BLANK 1
#define DPL_CONNECTION_COMMENT 2
#define DPL_CONNECTION_ENTRY 3

/* Results of dplCompareVers. */
#define DPL_VERS_SAME 3002
#define DPL_VERS_NEWER 3003
#define DPL_VERS_OLDER 3004
#define DPL_VERS_UNORDERED 3005
#define DPL_E_VERS_UNDECIDED (-991)
#define DPL_E_VERS_FAMILY (-992)

/* Disk and memory display units. */
#define DPL_UNITS_KB 0
#define DPL_UNITS_MB 1
#define DPL_UNITS_GB 2
#define DPL_UNITS_TB 3
#define DPL_UNITS_PB 4

/* ---- trace facility ---------------------------------------------------- */

#define HT_TIMESTAMP 0x01u
#define HT_PREFIX 0x04u
#define HT_DEPTH 0x08u
#define HT_FRACTION 0x10u
#define HT_PROCESS_THREAD 0x40u
#define HT_ECHO 0x80u

#define HT_OK 0u
#define HT_E_BADSTATE 10000u
#define HT_E_OPEN 10001u
#define HT_E_START 10002u
#define HT_E_SEVERITY 10003u
#define HT_E_FLAGS 10004u
#define HT_E_STARTED 10005u
#define HT_E_NOTSTARTED 10006u

/* Kinds of ht_hexdump output. */
#define HT_DUMP_LOG 1u
#define HT_DUMP_DEBUG 2u

/* ---- records ------------------------------------------------------------ */

typedef struct InstallControlBlock InstallControlBlock;
typedef struct Instance Instance;

typedef struct Connection { /* owned by the instance */
    int32_t kind;           /* 1 blank line, 2 comment line, 3 connection */
    char *alias;            /* the alias, or the text of a comment line */
    uint32_t protocol;
    uint16_t port;
    char *service;
    char *host;
    char *options;
    struct Connection *next;
} Connection;

typedef struct DplVersionInfo {
    int32_t beta, x, w, failed;
    int32_t major, minor, level, build;
    int32_t further; /* a token follows the last one read */
} DplVersionInfo;

/* A registry key: HKEY on Windows, an opaque handle elsewhere. The predefined
   roots have Windows' values on both. */
#if defined(_WIN32)
typedef struct HKEY__ *DplHKEY;
#else
typedef struct DplHKEY__ *DplHKEY;
#endif
#define DPL_PREDEFINED_KEY(value) ((DplHKEY)(intptr_t)(int32_t)(value))
#define DPL_HKEY_CLASSES_ROOT DPL_PREDEFINED_KEY(0x80000000u)
#define DPL_HKEY_CURRENT_USER DPL_PREDEFINED_KEY(0x80000001u)
#define DPL_HKEY_LOCAL_MACHINE DPL_PREDEFINED_KEY(0x80000002u)
#define DPL_HKEY_USERS DPL_PREDEFINED_KEY(0x80000003u)
#define DPL_HKEY_PERFORMANCE_DATA DPL_PREDEFINED_KEY(0x80000004u)
#define DPL_HKEY_CURRENT_CONFIG DPL_PREDEFINED_KEY(0x80000005u)

/* Registry views of the query helpers. */
#define DPL_REG_VIEW_DEFAULT 0
#define DPL_REG_VIEW_32 1
#define DPL_REG_VIEW_64 2

/* Root selectors of dplGetRegDataFromName. */
#define DPL_ROOT_CLASSES_ROOT 0
#define DPL_ROOT_CURRENT_CONFIG 1
#define DPL_ROOT_CURRENT_USER 2
#define DPL_ROOT_LOCAL_MACHINE 3
#define DPL_ROOT_PERFORMANCE_DATA 4
#define DPL_ROOT_USERS 5

typedef struct DplRegValue {
    uint32_t index;
    char *name;
    uint32_t type;
    char *data; /* the data as text up to its first zero byte; null when empty */
    struct DplRegValue *next;
} DplRegValue;

typedef struct DplRegSubKey {
    uint32_t index;
    char *name;
    struct DplRegSubKey *next;
} DplRegSubKey;

/* Kinds of a configuration entry. */
#define DPL_CONFIG_BLANK 1u
#define DPL_CONFIG_COMMENT 2u
#define DPL_CONFIG_PARAMETER 3u

typedef struct ConfigEntry { /* owned by the instance */
    uint32_t kind;           /* 1 blank line, 2 comment or verbatim line, 3 parameter */
    int32_t sequence;        /* order of the lines on writing */
    char *name;              /* parameter name; the whole line for kind 2 */
    char *value;
    char *comment;
} ConfigEntry;

/* Protocol codes. */
#define DPL_PROTOCOL_GROUP 256u
#define DPL_PROTOCOL_PREFIX_MASK 0x0C0u
#define DPL_PROTOCOL_INTERFACE_MASK 0x030u
#define DPL_PROTOCOL_TRANSPORT_MASK 0x00Eu
#define DPL_PROTOCOL_SOCKETS 0x010u

/* ---- control block and instance ----------------------------------------- */

DPL_API InstallControlBlock *init_API(uint32_t mode, int32_t product_mode, const char *product,
                                      const char *version);
DPL_API InstallControlBlock *initInstallAPI(uint32_t mode, int32_t product_mode, const char *product,
                                            const char *version, const char *log_file, const char *debug_file,
                                            uint32_t severity);
DPL_API int32_t setupIATrace(const char *log_file, const char *debug_file, uint32_t severity);
DPL_API int32_t finish(InstallControlBlock *block);
DPL_API int32_t dplSetInstallType(InstallControlBlock *block, uint32_t type);
DPL_API int32_t dplSetInstallModeNoSQL(InstallControlBlock *block);
DPL_API int32_t dplUnSetInstallModeNoSQL(InstallControlBlock *block);
DPL_API int32_t dplSetInstallModePrivate(InstallControlBlock *block);
/* Takes a unit name (KB, MB, GB, TB, PB or K, M, G, T, P, any case) and
   stores and returns its code DPL_UNITS_KB..DPL_UNITS_PB; -966 otherwise. */
DPL_API int32_t dplSetDiskMemUnits(InstallControlBlock *block, const char *units);
DPL_API DplVersionInfo *dplExtractVersInfo(DplVersionInfo *info, const char *version);
/* The mode flags word; 0 for a null or foreign block. */
DPL_API uint32_t dplGetInstallMode(InstallControlBlock *block);
DPL_API Instance *dplGetCurrentInstance(InstallControlBlock *block);
/* 0 file, 1 local registry, 2 remote registry; or a negative status. */
DPL_API int32_t dplGetSqlhostsLocation(InstallControlBlock *block);
DPL_API int32_t dplSetSqlhostsLocation(InstallControlBlock *block, uint32_t kind);
DPL_API int32_t dplInitInstanceStruct(InstallControlBlock *block);
DPL_API int32_t dplGetConnection(InstallControlBlock *block, const char *alias, Connection **out);
DPL_API int32_t dplGetEnvironment(InstallControlBlock *block, const char *name, const char **value);
DPL_API int32_t dplSetEnvironment(InstallControlBlock *block, const char *name, const char *value);
DPL_API void dplFree(void *memory);

/* ---- registry query helpers ---------------------------------------------- */

DPL_API int32_t dplQueryRegData(DplHKEY root, const char *path, DplRegValue **list, int32_t view);
DPL_API void dplFreeRegData(DplRegValue **list);
DPL_API int32_t dplQueryRegSubKeys(DplHKEY root, const char *path, DplRegSubKey **list, int32_t view);
DPL_API void dplFreeRegSubKeys(DplRegSubKey **list);
DPL_API char *dplGetRegDataFromName(int32_t root_selector, const char *path, const char *value_name,
                                    int32_t view);
DPL_API int32_t dplCopyRegTree(DplHKEY destination, DplHKEY source);

/* ---- connections (sqlhosts) ------------------------------------------- */

DPL_API uint32_t dplMapStringtoProtocol(const char *text);
DPL_API char *dplMapProtocol(uint32_t code); /* dplFree the result */
DPL_API int32_t dplWindowsReadConnections(InstallControlBlock *block, const char *place);
DPL_API int32_t dplReadConnections(InstallControlBlock *block, const char *path);
DPL_API int32_t dplReadConnectionsRegistery(InstallControlBlock *block, const char *machine);
DPL_API int32_t dplAddConnection(InstallControlBlock *block, const char *alias, uint32_t protocol,
                                 const char *host, uint16_t port, const char *service, const char *options);
DPL_API int32_t dplWriteConnection(InstallControlBlock *block);

/* ---- server configuration file (onconfig) ------------------------------ */

DPL_API int32_t dplReadConfig(Instance *instance, const char *path);
DPL_API int32_t dplGetConfig(Instance *instance, const char *name, const char **value, ConfigEntry **entry);
DPL_API int32_t dplSetConfig(Instance *instance, const char *name, const char *value, const char *comment);
DPL_API int32_t dplAddConfig(Instance *instance, const char *name, const char *value, const char *comment);
DPL_API int32_t dplWriteConfig(Instance *instance);

/* ---- services database ------------------------------------------------- */

DPL_API int32_t dplServicesLoad(InstallControlBlock *block, const char *path);
DPL_API int32_t dplServicesStatus(InstallControlBlock *block);
DPL_API void dplServicesFree(InstallControlBlock *block);
DPL_API int32_t dplServicesAddService(InstallControlBlock *block, const char *name, uint16_t port,
                                      const char *protocol, int32_t alias_count, const char *const *aliases,
                                      const char *comment);
DPL_API int32_t dplServicesRemoveService(InstallControlBlock *block, uint16_t port, const char *name,
                                         const char *protocol);
DPL_API int32_t dplServicesAddComment(InstallControlBlock *block, const char *text);
DPL_API int32_t dplServicesDeployFile(InstallControlBlock *block, const char *path);
DPL_API int32_t dplServicesDeploy(InstallControlBlock *block);
DPL_API int32_t dplServicesTestPort(InstallControlBlock *block, uint16_t port, const char *protocol);
DPL_API int32_t dplServicesTestName(InstallControlBlock *block, const char *name, const char *protocol);
DPL_API int16_t dplServicesGetPortFromName(InstallControlBlock *block, const char *name,
                                           const char *protocol);
DPL_API int32_t dplServicesGenerateName(InstallControlBlock *block, char **out_name, const char *preferred);
DPL_API int32_t dplServicesGeneratePort(InstallControlBlock *block, uint16_t *out_port, uint16_t first);
DPL_API int32_t dplServicesCheatSockets(InstallControlBlock *block);
DPL_API int32_t dplCheckAliasList(InstallControlBlock *block, const char *name, const char *protocol);

/* ---- paths, size texts and version texts --------------------------------- */

/* Mode 1: the last name of the path; mode 2: its directory part. dplFree the
   result; null for a path without a usable separator. */
DPL_API char *GetNameFromPath(InstallControlBlock *block, const char *path, int32_t mode);
/* Creates the file and any missing directories above it; keeps the content
   of an existing file. 0, -966, -971 or -952. */
DPL_API int32_t dplCreateFile(InstallControlBlock *block, const char *path);
/* Expands $NAME and %NAME% from the process environment, writes one
   separator for each run of "/" and "\" ("\" on Windows, "/" elsewhere) and
   gives the system's short form; at most 255 characters. dplFree the result;
   null on failure. */
DPL_API char *dplXlateFilePath(InstallControlBlock *block, const char *path);
/* DPL_VERS_SAME, _NEWER (the first is newer), _OLDER, _UNORDERED,
   DPL_E_VERS_UNDECIDED, DPL_E_VERS_FAMILY, or -1000 for a text that cannot be
   parsed (a null text included). */
DPL_API int32_t dplCompareVers(const char *first, const char *second);
/* Blanks, decimal digits, blanks, an optional unit K, KB, M, MB, G, GB, T, TB,
   P or PB (any case, none meaning KB), blanks: the size in kilobytes, or -966. */
DPL_API int64_t dplParseSize(const char *text);

/* ---- descriptor-style file I/O ------------------------------------------ */

/* Open flags of nt_open, the same values on every build. */
#define DPL_O_RDONLY 0x0
#define DPL_O_WRONLY 0x1
#define DPL_O_RDWR 0x2
#define DPL_O_APPEND 0x8
#define DPL_O_CREAT 0x100
#define DPL_O_TRUNC 0x200
#define DPL_O_EXCL 0x400

/* Modes of nt_access. */
#define DPL_F_OK 0
#define DPL_W_OK 2
#define DPL_R_OK 4

/* Whence of nt_lseek. */
#define DPL_SEEK_SET 0
#define DPL_SEEK_CUR 1
#define DPL_SEEK_END 2

/* The only kinds nt_stat and nt_fstat put in st_mode. */
#define DPL_S_IFREG 0x8000
#define DPL_S_IFCHR 0x2000

#if defined(_WIN32)
/* nt_readfile and nt_writefile take the Windows handle (HANDLE), the DWORD
   count and the OVERLAPPED record of ReadFile and WriteFile unchanged. */
typedef void *DplNativeFile;
typedef unsigned long DplIoCount;
typedef struct _OVERLAPPED DplOverlapped;
#else
/* Elsewhere they take the descriptor, a 32-bit count and, in place of the
   overlapped record, the explicit file position of the transfer (pread and
   pwrite); a null record transfers at the current position. A transfer there
   never stays pending, and reading at or past the end gives 0 bytes. */
typedef int32_t DplNativeFile;
typedef uint32_t DplIoCount;
typedef struct DplOverlapped {
    int64_t offset;
} DplOverlapped;
#endif

/* A descriptor is the 32-bit value of the Windows file handle, elsewhere the
   system's own descriptor. Failures answer -1 and set errno; unexpected ones
   also print "<call>: w32ec=<code> at API/nt_filio:<line>" on standard output,
   with the system's own error code (errno outside Windows). A path that
   begins with "*" is opened unbuffered, with "**" also write-through and only
   if it exists. */
DPL_API int32_t nt_open(const char *path, int32_t flags);
DPL_API int32_t nt_read(int32_t fd, void *buffer, uint32_t count);
DPL_API int32_t nt_write(int32_t fd, const void *buffer,
                         uint32_t count); /* 1 and 2: standard output, error */
DPL_API int32_t nt_close(int32_t fd);
DPL_API int64_t nt_lseek(int32_t fd, int64_t offset, int32_t whence);
DPL_API int32_t nt_unlink(const char *path);
DPL_API int32_t nt_fstat(int32_t fd, struct stat *status);
DPL_API int32_t nt_stat(const char *path, struct stat *status);
DPL_API int32_t nt_access(const char *path, int32_t mode);
DPL_API int32_t nt_is_device(const char *path); /* 1 for a raw drive such as \\.\PhysicalDrive0 */
DPL_API int32_t nt_readfile(DplNativeFile file, void *buffer, uint32_t count, DplIoCount *done,
                            DplOverlapped *overlapped);
DPL_API int32_t nt_writefile(DplNativeFile file, const void *buffer, uint32_t count, DplIoCount *done,
                             DplOverlapped *overlapped);
/* The C runtime's errno for a Windows error code; 0 when there is none. */
DPL_API int32_t nt_errno_from_win32(uint32_t code);

/* ---- storage spaces and file systems -------------------------------------- */
#define DPL_SPACE_DB 100u
#define DPL_SPACE_TEMP_DB 101u
#define DPL_SPACE_SB 102u
#define DPL_SPACE_TEMP_SB 103u
#define DPL_SPACE_BLOB 104u

typedef struct StorageSpace { /* owned by the instance; sizes and offsets in KB */
    uint32_t kind;            /* 100, 102 or 104; 0 in a mirror whose primary was not flagged mirrored */
    uint32_t deployed;        /* 1 once its statements are in the script */
    uint32_t temporary;       /* DBspace and Smart BLOBspace */
    uint32_t mirrored;        /* 1 = mirrored */
    uint64_t page_size;       /* DBspace */
    uint64_t first_extent;    /* DBspace */
    uint64_t next_extent;     /* DBspace */
    uint64_t metadata_size;   /* Smart BLOBspace */
    uint64_t metadata_offset; /* Smart BLOBspace */
    char *options;            /* Smart BLOBspace */
    uint32_t blob_page_size;  /* BLOBspace, as given */
    char *mirror_path;
    uint64_t mirror_offset;
    char *name;
    char *path;
    uint64_t size;
    uint64_t offset;
    struct StorageSpace *mirror;
    struct StorageSpace *next;
} StorageSpace;

typedef struct FileSystemEntry { /* owned by the block */
    uint32_t device;             /* device (drive) number of the directory */
    uint32_t total_kb;           /* total bytes of the volume >> 10, cut to 32 bits */
    uint64_t free_kb;            /* bytes available to the caller >> 10 */
    uint64_t required_kb;        /* summed requirement of the planned chunks */
    char *path;                  /* the path first given for this device */
    char *directory;             /* its nearest existing directory */
    uint32_t reserved1, reserved2;
    struct FileSystemEntry *next;
} FileSystemEntry;

DPL_API int32_t dplCreateSpace(InstallControlBlock *block, uint32_t kind, const char *name, const char *path,
                               const char *size, const char *offset);
DPL_API int32_t dplCreateDBSpace(InstallControlBlock *block, const char *name, const char *path,
                                 const char *size, const char *offset, const char *page_size,
                                 const char *mirror_path, const char *mirror_offset, const char *first_extent,
                                 const char *next_extent, uint32_t temporary);
DPL_API int32_t dplCreateSBSpace(InstallControlBlock *block, const char *name, const char *path,
                                 const char *size, const char *offset, const char *mirror_path,
                                 const char *mirror_offset, const char *metadata_size,
                                 const char *metadata_offset, uint32_t temporary, const char *options);
DPL_API int32_t dplCreateBLOBSpace(InstallControlBlock *block, const char *name, const char *path,
                                   const char *size, const char *offset, uint32_t blob_page_size,
                                   const char *mirror_path, const char *mirror_offset);
DPL_API int32_t dplCreateMirrorSpace(InstallControlBlock *block, const char *name, const char *mirror_path,
                                     const char *mirror_offset);
DPL_API const char *dplGetSpaceKindName(uint32_t kind);            /* "DBspace" ...; null for another code */
DPL_API StorageSpace *dplGetSpaceList(InstallControlBlock *block); /* head of the current instance's list */
DPL_API FileSystemEntry *dplGetFileSysList(InstallControlBlock *block);
DPL_API int32_t dplSetFileSysInfo(InstallControlBlock *block, const char *path, uint64_t required_kb);
/* Requirement of the device of path, in the block's display unit; or -947, -967, -980. */
DPL_API int64_t dplGetFileSysRequiredspace(InstallControlBlock *block, const char *path, int32_t reserved);
/* Free space (bytes available to the caller) of the volume of path's nearest existing directory,
   in the block's display unit; or -947, -967, -980. */
DPL_API int64_t dplGetFileSysFreespace(InstallControlBlock *block, const char *path);
/* Total and free KB of that volume (either pointer may be null); 0, -947, -967 or -980. */
DPL_API int32_t dplGetFileSysInfo(InstallControlBlock *block, const char *path, uint64_t *total_kb,
                                  uint64_t *free_kb);
DPL_API int32_t dplSetInstallDir(InstallControlBlock *block, const char *directory);
DPL_API const char *dplGetInstallDir(InstallControlBlock *block); /* null for a bad block */

/* ---- system figures and disk speed ---------------------------------------- */
typedef struct DiskLocation { /* owned by the block */
    uint64_t size;            /* KB available at this location */
    int32_t is_file;          /* 1: path is the file or device to test; 0: a directory */
    char *path;
    int32_t offset;    /* byte offset of the test I/O */
    double write_rate; /* MB/s of the last measured write */
    int32_t read_speed;
    int32_t write_speed;
    int32_t measured; /* 1: figures known, not tested again */
    struct DiskLocation *next;
} DiskLocation;

DPL_API double dplGetCPUSpeed(InstallControlBlock *block); /* -947.0 for a bad block */
DPL_API uint32_t dplGetTotalCPU(InstallControlBlock *block);
DPL_API int64_t dplGetTotalMemory(InstallControlBlock *block); /* KB / display unit divisor */
DPL_API uint64_t dplGetPageSize(InstallControlBlock *block);   /* 4096 */
DPL_API void init_system_info(InstallControlBlock *block);
DPL_API int32_t measure_disk_speed(InstallControlBlock *block);
DPL_API int32_t test_read_speed(InstallControlBlock *block, DiskLocation *location, int32_t fd,
                                int64_t measure_size, int32_t measure);
DPL_API int32_t test_write_speed(InstallControlBlock *block, DiskLocation *location, int32_t fd,
                                 int64_t measure_size, int32_t measure);
DPL_API DiskLocation *dplGetDiskLocations(InstallControlBlock *block);
/* Adds a location to the end of the list (is_file 1: the path itself is tested at offset);
   0, -947, -967, -980 (a directory location whose volume cannot be queried), -1000. */
DPL_API int32_t dplAddDiskLocation(InstallControlBlock *block, const char *path, int32_t is_file,
                                   int32_t offset);

/* ---- automatic configuration ------------------------------------------------ */
#define DPL_SET_MAXCPU 0
#define DPL_SET_MAXMEM 1
#define DPL_SET_MAXDISK 2
#define DPL_SET_MAXCPU_PCT 3
#define DPL_SET_MAXMEM_PCT 4
#define DPL_SET_MAXDISK_PCT 5
#define DPL_SET_MIRROR_ALL 6
#define DPL_SET_MIRROR_CRITICAL 7
#define DPL_SET_SBSPACE_ENABLED 8
#define DPL_SET_SBSPACE_LOGOPT 9
#define DPL_SET_RTOPOLICY 10
#define DPL_SET_INSTANCEPATH 11
#define DPL_SET_MIRRORPATH 12
#define DPL_SET_MAXUSERS 13
#define DPL_SET_MAXDSUSERS 14
#define DPL_SET_SERVERTYPE 15
#define DPL_SET_SERVERNUM 16
#define DPL_SET_TXNSUPPORT 17
#define DPL_SET_ROOTPATH 18
#define DPL_SET_LLOGPATH 19
#define DPL_SET_PLOGPATH 20
#define DPL_SET_DATAPATH 21
#define DPL_SET_SLOBPATH 22
#define DPL_SET_TEMPPATH 23

/* Space entries of a recommendation. */
#define DPL_SPACE_ENTRY_ROOT 0
#define DPL_SPACE_ENTRY_PLOG 1
#define DPL_SPACE_ENTRY_LLOG 2
#define DPL_SPACE_ENTRY_DATA 3
#define DPL_SPACE_ENTRY_SLOB 4
#define DPL_SPACE_ENTRY_TEMP 5

typedef struct AutoConfigSettings { /* owned by the instance; declaration order of the model */
    uint32_t signature;             /* 0x5844504C */
    int32_t max_users, max_ds_users, rto_policy;
    int32_t txn_support, mirror_critical, mirror_all, sbspace_enabled, sbspace_logopt;
    int64_t max_disk, max_mem; /* KB */
    char *instance_path, *mirror_path;
    int32_t max_cpu, server_type, server_num;
    double lru_min_dirty, lru_max_dirty;
    int32_t cpu_mode, mem_mode, disk_mode;
    int32_t cpu_pct, mem_pct, disk_pct;
    int32_t status[50];
} AutoConfigSettings;

typedef struct SpaceAllocation {
    uint32_t kind; /* the entry's index */
    int64_t size;  /* KB */
    int32_t chunks;
    int32_t log_count; /* logical-log entry only */
    int64_t unit_size; /* bytes: physical log size (entry 1), one logical log (entry 2) */
    char *path;
} SpaceAllocation;

typedef struct Recommendation { /* owned by the instance */
    uint32_t signature;         /* 0x5844504C */
    int32_t stage;              /* 0 reset, 2 calculated, 3 defaults loaded */
    int64_t user_memory, ds_memory, ds_max_scans, ds_nonpdq_query_mem;
    int64_t shm_virtual_size, shm_add, vp_memory_cache, onlidx_maxmem; /* KB where the model says */
    int32_t buffers, cleaners, lrus, locks, net_poll_threads;
    int32_t disk_speed_min, disk_speed_avg, disk_speed_avg_eighth, disk_count;
    SpaceAllocation space[6];
} Recommendation;

DPL_API AutoConfigSettings *dplGetAutoConfigSettings(InstallControlBlock *block); /* current instance's */
DPL_API Recommendation *dplGetRecommendationRecord(InstallControlBlock *block);
DPL_API int32_t dplSetAutoConfig(InstallControlBlock *block, int32_t type, const char *value);
DPL_API int32_t dplUpdateRecommendation(InstallControlBlock *block, int32_t code, const char *value);
DPL_API char *dplGetRecommendationString(InstallControlBlock *block, int32_t code); /* dplFree */
DPL_API int64_t dplGetRecommendation(InstallControlBlock *block, int32_t code);
DPL_API int32_t dplLoadRecommendation(InstallControlBlock *block);
DPL_API int32_t dplCalculateRecommendation(InstallControlBlock *block);
DPL_API int32_t dplLoadDefaultConfig(InstallControlBlock *block);
DPL_API int32_t write_generated_config(InstallControlBlock *block);
DPL_API int32_t load_defaults_to_config(InstallControlBlock *block);
DPL_API int32_t load_default_space_paths(InstallControlBlock *block);
DPL_API int32_t load_default_log_values(InstallControlBlock *block);

/* Mode flag: a block that maintains an existing installation (also the capture-only deployment:
   script "sch_sqlcap.sql", accounts removed instead of created). DPL_MODE_NO_SQL (0x8) is the
   JSON-listener flag of deployment. */
#define DPL_MODE_MAINTENANCE 0x1u
/* ---- product strings, install tags, installed version ----------------------- */
DPL_API const char *dplGetProductName(int32_t product_type);
DPL_API const char *dplGetInstallString(int32_t string_id);
DPL_API int32_t dplGetUniqueInstallTag(InstallControlBlock *block);
DPL_API int32_t dplUniqueInstallTag(int32_t major, int32_t minor);
DPL_API int32_t dplRetrieveInstallTag(InstallControlBlock *block, const char *install_dir);
DPL_API int32_t dplGetInstalledVersion(InstallControlBlock *block, int32_t product_kind,
                                       const char *install_dir,
                                       char **version_out); /* dplFree *version_out */
DPL_API char **parseAliases(InstallControlBlock *block, const char *server_name, const char *aliases,
                            int32_t *count_out); /* dplFreeNameList */
DPL_API void dplFreeNameList(char **names, int32_t count);

/* ---- installation registry: clean-up, discovery, removal, upgrade -------------- */
DPL_API int32_t instance_event_exists(const char *server_name);
DPL_API int32_t dplCheckforInstance(InstallControlBlock *block, const char *server_name);
DPL_API char **get_instance_names(InstallControlBlock *block, int32_t *count_out); /* dplFreeNameList */
DPL_API int32_t dplCreateServerNum(InstallControlBlock *block);
/* Marks the named instance as running (the event a running server holds) until
   dplReleaseInstanceMarker or the end of the process; 0 or -1. */
DPL_API int32_t dplCreateInstanceMarker(const char *server_name);
DPL_API int32_t dplReleaseInstanceMarker(const char *server_name);
DPL_API int32_t dplStopInstallationInstances(InstallControlBlock *block, const char *install_dir);
DPL_API int32_t dplRemoveInstallationInstances(InstallControlBlock *block, const char *install_dir);
DPL_API int32_t dplUpgradeUninstallProd(InstallControlBlock *block, int32_t product_kind,
                                        const char *install_dir, const char *setup_dir);
DPL_API int32_t dplRemoveNQR10OlderShortcutGroup(InstallControlBlock *block, const char *install_dir,
                                                 int32_t major, int32_t minor);
DPL_API int32_t dplRemoveNQR10OlderRegKeys(InstallControlBlock *block, const char *install_dir, int32_t major,
                                           int32_t minor);
DPL_API int32_t dplRestoreSecKey(InstallControlBlock *block, const char *install_dir);
DPL_API int32_t dplUpdateInstanceKeys(InstallControlBlock *block);

/* ---- environment files, registry environment, listener file ------------------ */
#define DPL_PROFILE_CSH 1
#define DPL_PROFILE_KSH 2
#define DPL_PROFILE_CMD 3
DPL_API int32_t dplWriteEnv(InstallControlBlock *block);
DPL_API int32_t dplWriteProfile(InstallControlBlock *block, int32_t kind);
DPL_API int32_t dplDeployJsonListenerFile(InstallControlBlock *block);

/* ---- installing user, accounts, groups, rights -------------------------------- */
#define DPL_P_RUNAS_USER 0
#define DPL_P_CHANGE_USER_CRED 1
#define DPL_P_RUNAS_LOCAL 2
#define DPL_P_ROLE_SEPARATION 3
#define DPL_P_LOCAL_ADMIN 4
#define DPL_P_DOMAIN_ADMIN 5
#define DPL_P_DOMAIN_CONTROLLER 6
#define DPL_P_IN_DOMAIN 7

#define DPL_P_GROUP_EXISTS 1u
#define DPL_P_USER_EXISTS 2u
#define DPL_P_DOMAIN_GROUP_EXISTS 4u
#define DPL_P_DOMAIN_USER_EXISTS 8u

#define DPL_ACCOUNT_PRODUCT_USER 0
#define DPL_ACCOUNT_JSON_LISTENER 4

DPL_API int32_t initDplUser(InstallControlBlock *block);
DPL_API int32_t dplSetInstallationProperty(InstallControlBlock *block, uint32_t property, int32_t value);
DPL_API int32_t dplGetInstallationProperty(InstallControlBlock *block, uint32_t property);
DPL_API int32_t dplGetUserProperty(InstallControlBlock *block, int32_t kind, uint32_t property);
DPL_API const char *dplGetUserName(InstallControlBlock *block, int32_t kind);
DPL_API const char *dplGetGroupName(InstallControlBlock *block, int32_t kind);
DPL_API const char *dplGetAccountName(InstallControlBlock *block);
DPL_API const char *dplGetAccountName_a(InstallControlBlock *block, int32_t kind);
DPL_API const char *dplGetDoaminControler(InstallControlBlock *block);
DPL_API const char *dplGetDoaminName(InstallControlBlock *block);
DPL_API const char *dplGetComputerName(InstallControlBlock *block);
DPL_API const char *dplGetInstallingUser(InstallControlBlock *block);
DPL_API int32_t dplSetPasswd(InstallControlBlock *block, int32_t kind, const char *password);
DPL_API void dplFreeUser(InstallControlBlock *block);
DPL_API int32_t dplGetLastError(InstallControlBlock *block, int32_t *previous);
DPL_API int32_t dplAddUserGroupRequired(InstallControlBlock *block, int32_t kind, const char *group,
                                        const char *user);
DPL_API int32_t dplChangeGroupRequired(InstallControlBlock *block, int32_t kind, const char *group);
DPL_API int32_t dplDeployQvmxCredentials(InstallControlBlock *block);
/* Fills length-1 characters from the 72-character alphabet and a terminator; 0 or -967. */
DPL_API int32_t dplGeneratePassword(char *buffer, uint32_t length);

/* Option flag (the block's second flag word): a demonstration instance. */
#define DPL_OPTION_DEMO 0x1u

/* ---- deployment --------------------------------------------------------------- */
DPL_API int32_t dplSetInstallOptions(InstallControlBlock *block, uint32_t options); /* DPL_OPTION_ flags */
DPL_API uint32_t dplGetInstallOptions(InstallControlBlock *block);
DPL_API int32_t deployInstallation(InstallControlBlock *block);
DPL_API int32_t dplOpenSysadminInDeploy(InstallControlBlock *block);
DPL_API int32_t dplCloseSysadminInDeploy(InstallControlBlock *block);
DPL_API int32_t dplGrantDBAonLocalInstance(InstallControlBlock *block);
DPL_API int32_t dplDeploySpaces(InstallControlBlock *block);
DPL_API int32_t dplCreateLog(InstallControlBlock *block, uint32_t kind, const char *space_name,
                             uint32_t count, const char *size);
DPL_API int32_t dplDeployLogs(InstallControlBlock *block);
DPL_API int32_t dplDeployDemoInstance(InstallControlBlock *block);
DPL_API int32_t dplWinServiceCreate(InstallControlBlock *block, const char *name, const char *display_name,
                                    const char *description, const char *command_line, const char *account,
                                    const char *password);
DPL_API int32_t dplWinServiceDelete(InstallControlBlock *block, const char *name);
DPL_API int32_t dplDeployWindowsService(InstallControlBlock *block);
DPL_API int32_t dplStopInstance(InstallControlBlock *block, const char *service_name);
DPL_API int32_t dplRemoveInstance(InstallControlBlock *block, const char *server_name);

/* ---- instance registry clean-up ---- */
DPL_API int32_t dplRemoveInstanceRegistry(InstallControlBlock *block, const char *server_name);

/* ---- trace facility ----------------------------------------------------- */

DPL_API uint32_t ht_trace_start(const char *log_name, const char *debug_name, uint32_t severity,
                                uint32_t flags, const char *prefix);
DPL_API uint32_t ht_trace_stop(uint32_t *out_error);
DPL_API uint32_t ht_set_severity(uint32_t severity, uint32_t *out_old);
DPL_API uint32_t ht_get_severity(uint32_t *out);
DPL_API const char *ht_last_error(void);
DPL_API void htenter(int32_t level, const char *source_file, int32_t line, const char *function);
DPL_API int32_t htexit(int32_t level, const char *source_file, int32_t line, int32_t rc);
DPL_API void ht_debug(int32_t level, const char *source_file, int32_t line, const char *format, ...)
    DPL_PRINTF(4, 5);
DPL_API void ht_log(const char *format, ...) DPL_PRINTF(1, 2);
DPL_API uint32_t ht_hexdump(uint32_t kind, const void *base, uint32_t start, uint32_t count,
                            uint32_t offset_digits, uint32_t group);

#ifdef __cplusplus
}
#endif

#endif /* DPL_DPL_H */

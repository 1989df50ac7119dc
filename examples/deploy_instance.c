/*
 * An installer's deployment, as a plain C program over the public header.
 *
 *   dpl_deploy_instance [--keep | --remove] INSTALLATION_DIRECTORY
 *
 * The directory holds the installed product: at least etc/sysadmin, where
 * the set-up scripts go. Two instances are deployed into it:
 *
 *   ol_demo  a demonstration instance with the JSON listener: its set-up
 *            script creates everything from a storage pool on the server's
 *            first start; connections in the sqlhosts file.
 *   ol_work  an ordinary instance: two DBspaces (one mirrored), the physical
 *            and the logical logs, a mirrored root; connections in the
 *            registry, each with its services entry.
 *
 * Both get their parameters from the automatic configuration (the disk is
 * measured once). No server is started here, so after the deployment the
 * program writes what a server writes on its first start and the removal
 * reads: the message log and the bootstrap file that lists the chunks.
 *
 * Without an option it deploys, prints what it laid down, removes both
 * instances with dplRemoveInstance and prints what is left. --keep stops
 * after the deployment; --remove (a later run) only removes. The removal
 * leaves the JSON listener's service, its services entry and its property
 * file, as it is meant to.
 *
 * Every status is checked: a failing call is printed with its code and the
 * program ends with status 1.
 */
#include <dpl/dpl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#if defined(_WIN32)
#define SEP "\\"
#else
#define SEP "/"
#endif

#define DEMO_SERVER "ol_demo"
#define WORK_SERVER "ol_work"
#define SERVICES_KEY "SYSTEM\\CurrentControlSet\\Services\\"
#define PATH_SIZE 600

static InstallControlBlock *block;

static void fail(const char *call, long long rc) {
    printf("FAILED: %s returned %lld\n", call, rc);
    if (block != NULL) finish(block);
    exit(1);
}

/* A call whose success is 0. */
#define CHECK(call)                                \
    do {                                           \
        int32_t rc_ = (call);                      \
        if (rc_ != 0) fail(#call, (long long)rc_); \
    } while (0)

static int exists(const char *path) {
    return nt_access(path, DPL_F_OK) == 0;
}

/* The text of one value of a key under HKEY_LOCAL_MACHINE, or "". */
static void registry_text(const char *key, const char *name, char *out, size_t size) {
    DplRegValue *values = NULL;
    const DplRegValue *at;
    out[0] = '\0';
    if (dplQueryRegData(DPL_HKEY_LOCAL_MACHINE, key, &values, DPL_REG_VIEW_DEFAULT) != 0) return;
    for (at = values; at != NULL; at = at->next) {
        if (at->name != NULL && strcmp(at->name, name) == 0 && at->data != NULL) {
            snprintf(out, size, "%s", at->data);
        }
    }
    dplFreeRegData(&values);
}

/* Number of values of a key, or -1 when it does not exist. */
static int registry_values(const char *key) {
    DplRegValue *values = NULL;
    const DplRegValue *at;
    int count = 0;
    if (dplQueryRegData(DPL_HKEY_LOCAL_MACHINE, key, &values, DPL_REG_VIEW_DEFAULT) != 0) return -1;
    for (at = values; at != NULL; at = at->next) count++;
    dplFreeRegData(&values);
    return count;
}

static int service_exists(const char *name) {
    char key[PATH_SIZE];
    snprintf(key, sizeof key, SERVICES_KEY "%s", name);
    return registry_values(key) >= 0;
}

/* ---- what was laid down ---------------------------------------------- */

static int missing;

static void show_file(const char *what, const char *path) {
    const int there = exists(path);
    printf("  %-9s %-28s %s\n", there ? "file" : "MISSING", what, path);
    if (!there) missing++;
}

static void show_key(const char *what, const char *key) {
    const int values = registry_values(key);
    if (values < 0) {
        printf("  MISSING   %-28s HKLM\\%s\n", what, key);
        missing++;
    } else {
        printf("  registry  %-28s HKLM\\%s (%d values)\n", what, key, values);
    }
}

static void show_service(const char *name) {
    char key[PATH_SIZE], display[PATH_SIZE], image[PATH_SIZE], account[PATH_SIZE];
    snprintf(key, sizeof key, SERVICES_KEY "%s", name);
    if (!service_exists(name)) {
        printf("  MISSING   Windows service              %s\n", name);
        missing++;
        return;
    }
    registry_text(key, "DisplayName", display, sizeof display);
    registry_text(key, "ImagePath", image, sizeof image);
    registry_text(key, "ObjectName", account, sizeof account);
    printf("  service   %-28s \"%s\": %s, as %s\n", name, display, image, account);
}

static void show_services_entry(const char *name) {
    const int16_t port = dplServicesGetPortFromName(block, name, "tcp");
    if (port <= 0) {
        printf("  MISSING   services entry               %s\n", name);
        missing++;
    } else {
        printf("  services  %-28s %u/tcp\n", name, (unsigned)(uint16_t)port);
    }
}

/* ---- the deployment ------------------------------------------------------ */

static void set_environment(const char *dir, const char *server, int file_sqlhosts) {
    char text[PATH_SIZE];
    CHECK(dplSetEnvironment(block, "ORVANDEXDIR", dir));
    CHECK(dplSetEnvironment(block, "ORVANDEXSERVER", server));
    snprintf(text, sizeof text, "onconfig.%s", server);
    CHECK(dplSetEnvironment(block, "ONCONFIG", text));
    if (file_sqlhosts) {
        snprintf(text, sizeof text, "%s" SEP "etc" SEP "sqlhosts.%s", dir, server);
        CHECK(dplSetEnvironment(block, "ORVANDEXSQLHOSTS", text));
    } else {
        CHECK(dplSetSqlhostsLocation(block, DPL_SQLHOSTS_LOCAL_REGISTRY));
    }
}

/* The instance's onconfig begins as a copy of the product's template (an
   abridged one here). */
static void copy_template(const char *dir, const char *server) {
    static const char template_text[] =
        "# Orvandex server parameters\n"
        "ROOTNAME rootdbs\n"
        "ROOTSIZE 200000\n"
        "PHYSFILE 50000\n"
        "LOGFILES 6\n"
        "LOGSIZE 10000\n"
        "MIRROR 0\n";
    char path[PATH_SIZE];
    FILE *file;
    snprintf(path, sizeof path, "%s" SEP "etc" SEP "onconfig.%s", dir, server);
    file = fopen(path, "w");
    if (file == NULL || fputs(template_text, file) < 0 || fclose(file) != 0) fail("writing the onconfig", -1);
    CHECK(dplReadConfig(dplGetCurrentInstance(block), path));
}

/* The automatic configuration: parameters from the machine's figures and a
   few limits, written into the onconfig. */
static void configure(const char *dir, const char *server, const char *number, int mirrored) {
    char path[PATH_SIZE];
    snprintf(path, sizeof path, "%s" SEP "data" SEP "%s", dir, server);
    CHECK(dplSetAutoConfig(block, DPL_SET_INSTANCEPATH, path));
    CHECK(dplSetAutoConfig(block, DPL_SET_SERVERNUM, number));
    CHECK(dplSetAutoConfig(block, DPL_SET_MAXMEM, "200000"));
    CHECK(dplSetAutoConfig(block, DPL_SET_MAXDISK, "200MB"));
    if (mirrored) {
        snprintf(path, sizeof path, "%s" SEP "mirror" SEP "%s", dir, server);
        CHECK(dplSetAutoConfig(block, DPL_SET_MIRRORPATH, path));
        CHECK(dplSetAutoConfig(block, DPL_SET_MIRROR_CRITICAL, "T"));
    }
    CHECK(dplCalculateRecommendation(block));
    CHECK(dplLoadRecommendation(block));
}

/* A connection over a free port (the first one tried is given), with its
   services entry when `service` is given: only for connections kept in the
   registry, through which the removal takes those entries back. */
static void add_connection(const char *alias, const char *protocol, const char *host, const char *service,
                           uint16_t first_port) {
    uint16_t port = 0;
    char *name = NULL;
    CHECK(dplServicesGeneratePort(block, &port, first_port));
    if (service != NULL) {
        CHECK(dplServicesGenerateName(block, &name, service));
        CHECK(dplServicesAddService(block, name, port, "tcp", 0, NULL, "Orvandex example"));
    }
    CHECK(dplAddConnection(block, alias, dplMapStringtoProtocol(protocol), host, port, name, NULL));
    dplFree(name);
}

static void accounts(void) {
    char password[21];
    CHECK(dplSetInstallationProperty(block, DPL_P_RUNAS_USER, 0));
    CHECK(dplAddUserGroupRequired(block, DPL_ACCOUNT_PRODUCT_USER, "orvandex", "orvandex"));
    CHECK(dplAddUserGroupRequired(block, DPL_ACCOUNT_JSON_LISTENER, "orvandex", "jsonlsn"));
    CHECK(dplGeneratePassword(password, sizeof password));
    CHECK(dplSetPasswd(block, DPL_ACCOUNT_JSON_LISTENER, password));
    memset(password, 0, sizeof password);
}

static void show_common(const char *dir, const char *server) {
    char path[PATH_SIZE];
    const char *root = NULL;
    snprintf(path, sizeof path, "%s" SEP "%s.cmd", dir, server);
    show_file("environment command file", path);
    snprintf(path, sizeof path, "SOFTWARE\\Orvandex\\Online\\%s\\Environment", server);
    show_key("registry environment", path);
    snprintf(path, sizeof path, "%s" SEP "etc" SEP "onconfig.%s", dir, server);
    show_file("onconfig", path);
    snprintf(path, sizeof path, "%s" SEP "etc" SEP "sysadmin" SEP "sch_init_%s.sql", dir, server);
    show_file("set-up script", path);
    CHECK(dplGetConfig(dplGetCurrentInstance(block), "ROOTPATH", &root, NULL));
    show_file("root chunk", root);
}

static void deploy_demo(const char *dir) {
    char path[PATH_SIZE];
    set_environment(dir, DEMO_SERVER, 1);
    copy_template(dir, DEMO_SERVER);
    CHECK(dplSetInstallModeNoSQL(block));
    CHECK(dplSetInstallOptions(block, DPL_OPTION_DEMO));
    /* The listener's url names the loopback connection. */
    add_connection(DEMO_SERVER, "onsoctcp", "127.0.0.1", NULL, 9088);
    configure(dir, DEMO_SERVER, "1", 0);
    CHECK(deployInstallation(block));

    printf("deployed %s (demonstration instance, JSON listener) in %s\n", DEMO_SERVER, dir);
    show_common(dir, DEMO_SERVER);
    snprintf(path, sizeof path, "%s" SEP "etc" SEP "sqlhosts.%s", dir, DEMO_SERVER);
    show_file("sqlhosts file", path);
    snprintf(path, sizeof path, "%s" SEP "etc" SEP "jsonListener.properties", dir);
    show_file("JSON listener properties", path);
    show_services_entry(DEMO_SERVER "_json");
    show_service(DEMO_SERVER "_json");
    show_service(DEMO_SERVER);
}

static void deploy_work(const char *dir) {
    char data[PATH_SIZE], logs[PATH_SIZE], mirror[PATH_SIZE], key[PATH_SIZE];
    const char *mirror_root = NULL;
    const StorageSpace *space;
    CHECK(dplInitInstanceStruct(block));
    set_environment(dir, WORK_SERVER, 0);
    copy_template(dir, WORK_SERVER);
    CHECK(dplUnSetInstallModeNoSQL(block));
    CHECK(dplSetInstallOptions(block, 0));
    add_connection(WORK_SERVER, "onsoctcp", "localhost", WORK_SERVER "_svc", 9098);
    add_connection(WORK_SERVER "_tcp", "olsoctcp", "localhost", WORK_SERVER "_tcp", 9099);
    configure(dir, WORK_SERVER, "2", 1);

    snprintf(data, sizeof data, "%s" SEP "data" SEP WORK_SERVER SEP "datadbs.000", dir);
    snprintf(mirror, sizeof mirror, "%s" SEP "mirror" SEP WORK_SERVER SEP "datadbs.000", dir);
    snprintf(logs, sizeof logs, "%s" SEP "data" SEP WORK_SERVER SEP "logdbs.000", dir);
    CHECK(dplCreateDBSpace(block, "datadbs", data, "100 MB", "0", NULL, mirror, "0", NULL, NULL, 0));
    CHECK(dplCreateDBSpace(block, "logdbs", logs, "80 MB", "0", NULL, NULL, NULL, NULL, NULL, 0));
    /* Sizes from the onconfig the automatic configuration wrote. */
    CHECK(dplCreateLog(block, 0, "logdbs", 1, NULL));
    CHECK(dplCreateLog(block, 1, "logdbs", 6, NULL));
    CHECK(deployInstallation(block));

    printf("deployed %s (two DBspaces, a mirror, physical and logical logs) in %s\n", WORK_SERVER, dir);
    show_common(dir, WORK_SERVER);
    CHECK(dplGetConfig(dplGetCurrentInstance(block), "MIRRORPATH", &mirror_root, NULL));
    show_file("root mirror chunk", mirror_root);
    for (space = dplGetSpaceList(block); space != NULL; space = space->next) {
        printf("  space     %-28s %s, %llu KB\n", space->name, space->path, (unsigned long long)space->size);
        show_file("chunk", space->path);
    }
    snprintf(key, sizeof key, "SOFTWARE\\Orvandex\\SQLHOSTS\\%s", WORK_SERVER);
    show_key("connection", key);
    snprintf(key, sizeof key, "SOFTWARE\\Orvandex\\SQLHOSTS\\%s_tcp", WORK_SERVER);
    show_key("connection", key);
    show_services_entry(WORK_SERVER "_svc");
    show_services_entry(WORK_SERVER "_tcp");
    show_service(WORK_SERVER);
}

/* ---- the server's first start, stood in for ------------------------------- */

static void bootstrap_line(FILE *file, const char *kind, int number, const char *path) {
    /* The removal reads the path's length after the line's tenth blank. */
    fprintf(file, "%s %d 1 0 0 0 0 0 0 0 %u %s\n", kind, number, (unsigned)strlen(path), path);
}

static void first_start(const char *dir, const char *server) {
    Instance *instance = dplGetCurrentInstance(block);
    const char *number = NULL, *root = NULL, *mirror = NULL, *message_log = NULL;
    const StorageSpace *space;
    char path[PATH_SIZE];
    FILE *file;
    int chunk = 1;

    CHECK(dplGetConfig(instance, "SERVERNUM", &number, NULL));
    CHECK(dplGetConfig(instance, "ROOTPATH", &root, NULL));
    CHECK(dplGetConfig(instance, "MSGPATH", &message_log, NULL));
    file = fopen(message_log, "w");
    if (file == NULL) fail("fopen of the message log", -1);
    fprintf(file, "%s: first start\n", server);
    fclose(file);

    snprintf(path, sizeof path, "%s" SEP "etc" SEP "oncfg_%s.%s", dir, server, number);
    file = fopen(path, "w");
    if (file == NULL) fail("fopen of the bootstrap file", -1);
    bootstrap_line(file, "Chunk", chunk++, root);
    if (dplGetConfig(instance, "MIRRORPATH", &mirror, NULL) == 0 && mirror != NULL && *mirror != '\0') {
        bootstrap_line(file, "Mchunk", 1, mirror);
    }
    for (space = dplGetSpaceList(block); space != NULL; space = space->next) {
        bootstrap_line(file, "Chunk", chunk, space->path);
        if (space->mirrored == 1 && space->mirror_path != NULL)
            bootstrap_line(file, "Mchunk", chunk, space->mirror_path);
        chunk++;
    }
    fclose(file);
    printf("  started   (stood in for)               bootstrap file %s (chunks: %d), message log %s\n", path,
           chunk - 1, message_log);
}

/* ---- the removal -------------------------------------------------------- */

static void show_gone(const char *what, const char *path) {
    if (exists(path)) {
        printf("  LEFT      %-28s %s\n", what, path);
        missing++;
    }
}

static void remove_instance(const char *dir, const char *server) {
    char path[PATH_SIZE];
    /* A fresh instance of the installation: the removal reads the rest
       from the instance's onconfig. */
    CHECK(dplInitInstanceStruct(block));
    CHECK(dplSetEnvironment(block, "ORVANDEXDIR", dir));
    CHECK(dplRemoveInstance(block, server));
    printf("removed %s\n", server);
    snprintf(path, sizeof path, "%s" SEP "%s.cmd", dir, server);
    show_gone("environment command file", path);
    snprintf(path, sizeof path, "%s" SEP "etc" SEP "onconfig.%s", dir, server);
    show_gone("onconfig", path);
    snprintf(path, sizeof path, "%s" SEP "etc" SEP "sysadmin" SEP "sch_init_%s.sql", dir, server);
    show_gone("set-up script", path);
    snprintf(path, sizeof path, "%s" SEP "etc" SEP "oncfg_%s.%s", dir, server,
             strcmp(server, DEMO_SERVER) == 0 ? "1" : "2");
    show_gone("bootstrap file", path);
    snprintf(path, sizeof path, "SOFTWARE\\Orvandex\\Online\\%s", server);
    if (registry_values(path) >= 0) {
        printf("  LEFT      registry key                 HKLM\\%s\n", path);
        missing++;
    }
    if (service_exists(server)) {
        printf("  LEFT      Windows service              %s\n", server);
        missing++;
    }
    printf("  gone      its files, registry keys and Windows service %s\n", server);
}

static void remove_both(const char *dir) {
    char path[PATH_SIZE];
    remove_instance(dir, DEMO_SERVER);
    remove_instance(dir, WORK_SERVER);
    snprintf(path, sizeof path, "%s" SEP "etc" SEP "jsonListener.properties", dir);
    printf("kept by the removal: Windows service %s_json (%s), its services entry, %s (%s)\n", DEMO_SERVER,
           service_exists(DEMO_SERVER "_json") ? "there" : "gone", path, exists(path) ? "there" : "gone");
}

int main(int argc, char **argv) {
    const char *dir = argv[argc - 1];
    char path[PATH_SIZE];
    int deploying = 1, removing = 1;

    if (argc == 3 && strcmp(argv[1], "--keep") == 0) {
        removing = 0;
    } else if (argc == 3 && strcmp(argv[1], "--remove") == 0) {
        deploying = 0;
    } else if (argc != 2 || dir[0] == '-') {
        printf("usage: %s [--keep | --remove] INSTALLATION_DIRECTORY\n", argv[0]);
        return 2;
    }
    snprintf(path, sizeof path, "%s" SEP "etc" SEP "sysadmin", dir);
    if (!exists(path)) {
        printf("%s: no such directory (the installation directory holds etc" SEP "sysadmin)\n", path);
        return 2;
    }

    block = init_API(0, 1, "Orvandex", "12.10");
    if (block == NULL) fail("init_API", 0);
    if (deploying) {
        accounts();
        deploy_demo(dir);
        first_start(dir, DEMO_SERVER);
        deploy_work(dir);
        first_start(dir, WORK_SERVER);
    }
    if (removing) remove_both(dir);
    CHECK(finish(block));
    block = NULL;
    if (missing != 0) {
        printf("FAILED: %d things were not as expected\n", missing);
        return 1;
    }
    printf("done: %s\n", !removing ? "deployed and kept" : deploying ? "deployed and removed" : "removed");
    return 0;
}

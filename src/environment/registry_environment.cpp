#include "environment/registry_environment.hpp"

#include <cstdio>

#include "registry/registry_key.hpp"
#include "trace/trace.hpp"

namespace dpl::environment {

namespace {

using platform::kLocalMachine;
using platform::RegValue;
using platform::RegView;
using platform::err::kOk;
using trace::kInstance;

// The instance's keys keep both spellings of their parent, as the server
// and its tools expect them.
const std::string kOnlineRoot = "SOFTWARE\\Orvandex\\Online\\";
const std::string kOnLineRoot = "SOFTWARE\\Orvandex\\OnLine\\";
constexpr std::size_t kKeyLimit = 300;
constexpr uint32_t kFirstUserId = 5;

RegValue string_value(const std::string &text) {
    RegValue value;
    value.type = platform::regtype::kSz;
    value.data = text;
    value.data.push_back('\0');
    return value;
}

RegValue dword_value(uint32_t number) {
    RegValue value;
    value.type = platform::regtype::kDword;
    for (int shift = 0; shift < 32; shift += 8)
        value.data.push_back(static_cast<char>((number >> shift) & 0xFFu));
    return value;
}

bool create_key(registry::OpenKey &key, const std::string &path) {
    const uint32_t rc = key.create(kLocalMachine, path, RegView::Default);
    if (rc != kOk) {
        ht_debug(5, kInstance, __LINE__, "Error: Cannot create Registry Key '%s'. RC = %d", path.c_str(),
                 static_cast<int>(rc));
    }
    return rc == kOk;
}

bool set_value(registry::OpenKey &key, const std::string &name, const RegValue &value) {
    const uint32_t rc = platform::current().reg_set_value(key.get(), name, value);
    if (rc != kOk) {
        ht_debug(5, kInstance, __LINE__, "Error: Cannot set Registry Value '%s'. RC = %d", name.c_str(),
                 static_cast<int>(rc));
    }
    return rc == kOk;
}

std::string product_security_key(const InstallControlBlock &block, int32_t tag) {
    const DplVersionInfo &version = block.product->version_info;
    char path[kKeyLimit];
    if (tag != 0) {
        std::snprintf(path, sizeof path, "SOFTWARE\\Orvandex\\DBMS\\%d.%d\\Security%d",
                      static_cast<int>(version.major), static_cast<int>(version.minor),
                      static_cast<int>(tag));
    } else {
        std::snprintf(path, sizeof path, "SOFTWARE\\Orvandex\\DBMS\\%d.%d\\Security",
                      static_cast<int>(version.major), static_cast<int>(version.minor));
    }
    return path;
}

}  // namespace

int32_t write_registry_environment(const Instance &instance, const std::string &server) {
    platform::RegistryBatch batch;
    registry::OpenKey environment;
    if (!create_key(environment, kOnlineRoot + server + "\\Environment")) return DPL_E_FAIL;
    registry::OpenKey setup;
    const bool setup_made = create_key(setup, kOnlineRoot + server + "\\Setup");
    for (const core::EnvironmentEntry &entry : instance.environment) {
        if (entry.kind != core::kEnvironmentSetting || entry.name == "PATH") continue;
        if (!set_value(environment, entry.name, string_value(entry.value))) return DPL_E_FAIL;
    }
    const uint32_t stored = batch.end();
    if (stored != kOk) {
        ht_debug(5, kInstance, __LINE__, "Error: Cannot store the registry environment. RC = %d",
                 static_cast<int>(stored));
        return DPL_E_FAIL;
    }
    return setup_made ? DPL_OK : DPL_E_FAIL;
}

int32_t write_security_key(InstallControlBlock &block, const std::string &server) {
    const int32_t tag = dplGetUniqueInstallTag(&block);
    char tag_text[12];
    std::snprintf(tag_text, sizeof tag_text, "%d", static_cast<int>(tag));
    const std::string product_path = product_security_key(block, tag);

    platform::RegistryBatch batch;
    registry::OpenKey product;
    if (const uint32_t rc = product.open(kLocalMachine, product_path, RegView::Default); rc != kOk) {
        ht_debug(5, kInstance, __LINE__, "Error: Cannot open Registry Key '%s'. RC = %d",
                 product_path.c_str(), static_cast<int>(rc));
        return DPL_E_FAIL;
    }
    registry::OpenKey security;
    if (!create_key(security, kOnLineRoot + server + "\\Security")) return DPL_E_FAIL;
    registry::OpenKey instance_key;
    if (instance_key.open(kLocalMachine, kOnLineRoot + server, RegView::Default) == kOk) {
        set_value(instance_key, "InstallNumber", string_value(tag_text));
        set_value(instance_key, "Version", string_value(block.product->version));
        instance_key.close();
    }
    const int32_t copied =
        dplCopyRegTree(reinterpret_cast<DplHKEY>(security.get()), reinterpret_cast<DplHKEY>(product.get()));
    if (copied == DPL_OK) {
        registry::OpenKey users;
        if (users.open(security.get(), "Users", RegView::Default) == kOk) {
            set_value(users, "UIDSeed", dword_value(kFirstUserId));
        }
    }
    return batch.end() == kOk && copied == DPL_OK ? DPL_OK : DPL_E_FAIL;
}

}  // namespace dpl::environment

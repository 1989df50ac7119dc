#include "platform/posix/posix_accounts.hpp"

#include <crypt.h>
#include <pwd.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>
#include <vector>

namespace dpl::platform::posix {
namespace {

// NTSTATUS values reported with a refused policy.
constexpr int32_t kStatusAccessDenied = static_cast<int32_t>(0xC0000022u);
constexpr int32_t kStatusBadNetworkPath = static_cast<int32_t>(0xC00000BEu);
constexpr PolicyHandle kLocalPolicy = 1;
constexpr std::size_t kMaxNameLength = 256;
constexpr std::size_t kNetbiosNameLength = 15;
constexpr uint32_t kUserPrivilege = 1;

bool equal_ci(const std::string &a, const std::string &b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::toupper(static_cast<unsigned char>(x)) ==
                      std::toupper(static_cast<unsigned char>(y));
           });
}

// Wipes a secret before its memory goes back to the allocator.
void wipe(void *data, std::size_t size) {
    if (size > 0) ::explicit_bzero(data, size);
}

class OpenKey {
public:
    OpenKey() = default;
    OpenKey(const OpenKey &) = delete;
    OpenKey &operator=(const OpenKey &) = delete;
    ~OpenKey() {
        if (key_ != kNoKey) current().reg_close_key(key_);
    }
    uint32_t open(const std::string &path) {
        return current().reg_open_key(kLocalMachine, path, RegView::Default, &key_);
    }
    uint32_t create(const std::string &path) {
        return current().reg_create_key(kLocalMachine, path, RegView::Default, &key_);
    }
    RegKey get() const { return key_; }

private:
    RegKey key_ = kNoKey;
};

std::string key_of(const char *area, const std::string &name) {
    return std::string(area) + "\\" + name;
}

// Names become registry keys: no separators, no control characters.
bool valid_name(const std::string &name) {
    if (name.empty() || name.size() > kMaxNameLength) return false;
    return std::none_of(name.begin(), name.end(), [](char c) {
        return c == '\\' || c == '/' || std::iscntrl(static_cast<unsigned char>(c)) != 0;
    });
}

bool key_exists(const std::string &path) {
    OpenKey key;
    return key.open(path) == err::kOk;
}

RegValue text_value(const std::string &text) {
    return RegValue{regtype::kSz, text + '\0'};
}

RegValue dword_value(uint32_t number) {
    std::string data(4, '\0');
    for (std::size_t i = 0; i < 4; ++i) data[i] = static_cast<char>((number >> (8 * i)) & 0xFFu);
    return RegValue{regtype::kDword, data};
}

std::vector<std::string> split_multi(const std::string &data) {
    std::vector<std::string> items;
    std::size_t start = 0;
    while (start < data.size()) {
        const std::size_t end = std::min(data.find('\0', start), data.size());
        if (end > start) items.push_back(data.substr(start, end - start));
        start = end + 1;
    }
    return items;
}

RegValue multi_value(const std::vector<std::string> &items) {
    std::string data;
    for (const std::string &item : items) data += item + '\0';
    data += '\0';
    return RegValue{regtype::kMultiSz, data};
}

// This computer is the only one there is: another server is unreachable,
// and no domain (global group) exists.
uint32_t check_place(const std::string &server, GroupScope scope) {
    if (scope == GroupScope::Global) return err::kInvalidComputer;
    if (server.empty()) return err::kOk;
    std::string self;
    if (computer_name(&self) != err::kOk) return err::kBadNetPath;
    if (server.size() > 2 && server.compare(0, 2, "\\\\") == 0 && equal_ci(server.substr(2), self))
        return err::kOk;
    return err::kBadNetPath;
}

// "COMPUTER\user", ".\user" or "user" to the user name; nullopt for another domain.
std::optional<std::string> local_part(const std::string &account) {
    const std::size_t slash = account.find('\\');
    if (slash == std::string::npos) return account;
    const std::string domain = account.substr(0, slash);
    std::string self;
    if (domain != "." && !(computer_name(&self) == err::kOk && equal_ci(domain, self))) return std::nullopt;
    return account.substr(slash + 1);
}

bool is_installing_user(const std::string &name) {
    AccountIdentity me;
    return installing_user(&me) == err::kOk && equal_ci(me.name, name);
}

uint32_t hash_password(const std::string &password, std::string *hash) {
    char setting[CRYPT_GENSALT_OUTPUT_SIZE];
    // The strongest method this libcrypt has; salt bytes from the system.
    if (::crypt_gensalt_rn("$y$", 0, nullptr, 0, setting, sizeof setting) == nullptr &&
        ::crypt_gensalt_rn("$6$", 0, nullptr, 0, setting, sizeof setting) == nullptr) {
        return err::kNotSupported;
    }
    auto data = std::make_unique<crypt_data>();
    const char *out = ::crypt_rn(password.c_str(), setting, data.get(), sizeof *data);
    const bool made = out != nullptr && out[0] != '*';
    if (made) *hash = out;
    wipe(data.get(), sizeof *data);
    return made ? err::kOk : err::kNotSupported;
}

bool password_matches(const std::string &password, const std::string &hash) {
    auto data = std::make_unique<crypt_data>();
    const char *out = ::crypt_rn(password.c_str(), hash.c_str(), data.get(), sizeof *data);
    bool same = false;
    if (out != nullptr && out[0] != '*' && std::strlen(out) == hash.size()) {
        unsigned char difference = 0;
        for (std::size_t i = 0; i < hash.size(); ++i)
            difference |= static_cast<unsigned char>(out[i] ^ hash[i]);
        same = difference == 0;
    }
    wipe(data.get(), sizeof *data);
    return same;
}

uint32_t set_values(RegKey key, const std::vector<std::pair<std::string, RegValue>> &values) {
    for (const auto &[name, value] : values) {
        if (const uint32_t rc = current().reg_set_value(key, name, value); rc != err::kOk) return rc;
    }
    return err::kOk;
}

std::optional<AccountIdentity> effective_user() {
    const uid_t uid = ::geteuid();
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd *found = nullptr;
    while (::getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found) == ERANGE)
        buffer.resize(buffer.size() * 2);
    if (found == nullptr || found->pw_name == nullptr) return std::nullopt;
    std::string domain;
    if (computer_name(&domain) != err::kOk) return std::nullopt;
    return AccountIdentity{found->pw_name, domain};
}

std::optional<std::string> host_computer_name() {
    char host[256] = {};
    if (::gethostname(host, sizeof host - 1) != 0) return std::nullopt;
    std::string name(host, ::strnlen(host, sizeof host));
    name = name.substr(0, name.find('.'));
    if (name.size() > kNetbiosNameLength) name.resize(kNetbiosNameLength);
    if (name.empty()) return std::nullopt;
    for (char &c : name) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return name;
}

// Whether `path`, or the nearest directory above it that exists, is a
// directory this process may write in.
bool can_create_and_write(const std::string &path) {
    std::string probe = path;
    for (;;) {
        struct stat st {};
        if (::stat(probe.c_str(), &st) == 0)
            return S_ISDIR(st.st_mode) && ::access(probe.c_str(), W_OK | X_OK) == 0;
        if (errno != ENOENT) return false;
        const std::size_t slash = probe.find_last_of('/');
        if (slash == std::string::npos) return false;
        probe = slash == 0 ? "/" : probe.substr(0, slash);
    }
}

}  // namespace

uint32_t computer_name(std::string *out) {
    // The host name does not change under a running installer.
    static const std::optional<std::string> cached = host_computer_name();
    if (!cached) return err::kNotSupported;
    *out = *cached;
    return err::kOk;
}

uint32_t installing_user(AccountIdentity *out) {
    static const std::optional<AccountIdentity> cached = effective_user();
    if (!cached) return err::kNoneMapped;
    *out = *cached;
    return err::kOk;
}

uint32_t open_policy(const std::string &root, const std::string &server, PolicyHandle *out, int32_t *status) {
    *out = kNoPolicy;
    if (check_place(server, GroupScope::Local) != err::kOk) {
        *status = kStatusBadNetworkPath;
        return err::kBadNetPath;
    }
    if (!can_create_and_write((root == "/" ? std::string() : root) + "/var/lib/dpl")) {
        *status = kStatusAccessDenied;
        return err::kAccessDenied;
    }
    *status = 0;
    *out = kLocalPolicy;
    return err::kOk;
}

uint32_t find_group(const std::string &server, GroupScope scope, const std::string &name) {
    if (const uint32_t rc = check_place(server, scope); rc != err::kOk) return rc;
    return valid_name(name) && key_exists(key_of(kGroupsKey, name)) ? err::kOk : err::kGroupNotFound;
}

uint32_t find_user(const std::string &server, const std::string &name) {
    if (const uint32_t rc = check_place(server, GroupScope::Local); rc != err::kOk) return rc;
    return valid_name(name) && key_exists(key_of(kUsersKey, name)) ? err::kOk : err::kUserNotFound;
}

uint32_t add_group(const std::string &server, GroupScope scope, const std::string &name,
                   const std::string &comment) {
    if (const uint32_t rc = check_place(server, scope); rc != err::kOk) return rc;
    if (!valid_name(name)) return err::kInvalidParameter;
    RegistryBatch batch;
    if (key_exists(key_of(kGroupsKey, name))) return err::kAliasExists;
    OpenKey key;
    uint32_t rc = key.create(key_of(kGroupsKey, name));
    if (rc == err::kOk)
        rc = set_values(key.get(), {{"Comment", text_value(comment)}, {"Members", multi_value({})}});
    const uint32_t written = batch.end();
    return rc != err::kOk ? rc : written;
}

uint32_t delete_group(const std::string &server, GroupScope scope, const std::string &name) {
    if (const uint32_t rc = check_place(server, scope); rc != err::kOk) return rc;
    if (!valid_name(name)) return err::kGroupNotFound;
    const uint32_t rc = current().reg_delete_tree(kLocalMachine, key_of(kGroupsKey, name), RegView::Default);
    return rc == err::kFileNotFound ? err::kGroupNotFound : rc;
}

uint32_t add_member(const std::string &server, GroupScope scope, const std::string &group,
                    const std::string &member) {
    if (const uint32_t rc = check_place(server, scope); rc != err::kOk) return rc;
    if (!valid_name(group)) return err::kGroupNotFound;
    const std::optional<std::string> user = local_part(member);
    if (!user || !valid_name(*user)) return err::kNoSuchMember;
    std::string self;
    if (const uint32_t rc = computer_name(&self); rc != err::kOk) return rc;
    RegistryBatch batch;
    if (!is_installing_user(*user) && !key_exists(key_of(kUsersKey, *user))) return err::kNoSuchMember;
    OpenKey key;
    if (key.open(key_of(kGroupsKey, group)) != err::kOk) return err::kGroupNotFound;
    RegValue members;
    uint32_t rc = current().reg_query_value(key.get(), "Members", &members);
    if (rc == err::kFileNotFound) rc = err::kOk;
    if (rc != err::kOk) return rc;
    std::vector<std::string> names = split_multi(members.data);
    const std::string qualified = self + "\\" + *user;
    if (std::any_of(names.begin(), names.end(), [&](const std::string &n) { return equal_ci(n, qualified); }))
        return err::kMemberInAlias;
    names.push_back(qualified);
    rc = current().reg_set_value(key.get(), "Members", multi_value(names));
    const uint32_t written = batch.end();
    return rc != err::kOk ? rc : written;
}

uint32_t add_user(const std::string &server, const NewUser &user) {
    if (const uint32_t rc = check_place(server, GroupScope::Local); rc != err::kOk) return rc;
    if (!valid_name(user.name)) return err::kInvalidParameter;
    if (find_user(server, user.name) == err::kOk) return err::kUserExists;
    // Hashed before the store is locked: a strong hash takes its time.
    std::string hash;
    if (const uint32_t rc = hash_password(user.password, &hash); rc != err::kOk) return rc;
    RegistryBatch batch;
    if (key_exists(key_of(kUsersKey, user.name))) return err::kUserExists;
    OpenKey key;
    uint32_t rc = key.create(key_of(kUsersKey, user.name));
    if (rc == err::kOk) {
        rc = set_values(key.get(), {{"Comment", text_value(user.comment)},
                                    {"Flags", dword_value(user.flags)},
                                    {"Privilege", dword_value(kUserPrivilege)},
                                    {"PasswordHash", text_value(hash)}});
    }
    const uint32_t written = batch.end();
    return rc != err::kOk ? rc : written;
}

uint32_t delete_user(const std::string &server, const std::string &name) {
    if (const uint32_t rc = check_place(server, GroupScope::Local); rc != err::kOk) return rc;
    if (!valid_name(name)) return err::kUserNotFound;
    std::string self;
    if (const uint32_t rc = computer_name(&self); rc != err::kOk) return rc;
    RegistryBatch batch;
    uint32_t rc = current().reg_delete_tree(kLocalMachine, key_of(kUsersKey, name), RegView::Default);
    if (rc == err::kFileNotFound) return err::kUserNotFound;
    // A deleted account is a member of nothing any more.
    OpenKey groups;
    if (rc == err::kOk && groups.open(kGroupsKey) == err::kOk) {
        const std::string qualified = self + "\\" + name;
        std::string group;
        for (uint32_t index = 0; current().reg_enum_key(groups.get(), index, &group) == err::kOk; ++index) {
            OpenKey key;
            RegValue members;
            if (key.open(key_of(kGroupsKey, group)) != err::kOk ||
                current().reg_query_value(key.get(), "Members", &members) != err::kOk)
                continue;
            std::vector<std::string> names = split_multi(members.data);
            const auto end = std::remove_if(names.begin(), names.end(),
                                            [&](const std::string &n) { return equal_ci(n, qualified); });
            if (end == names.end()) continue;
            names.erase(end, names.end());
            rc = current().reg_set_value(key.get(), "Members", multi_value(names));
            if (rc != err::kOk) break;
        }
    }
    const uint32_t written = batch.end();
    return rc != err::kOk ? rc : written;
}

uint32_t lookup_sid(const std::string &name, std::string *sid) {
    const std::optional<std::string> account = local_part(name);
    if (!account || !valid_name(*account)) return err::kNoneMapped;
    if (!is_installing_user(*account) && !key_exists(key_of(kUsersKey, *account)) &&
        !key_exists(key_of(kGroupsKey, *account)))
        return err::kNoneMapped;
    *sid = *account;
    return err::kOk;
}

uint32_t add_right(PolicyHandle policy, const std::string &sid, const std::string &right) {
    if (policy != kLocalPolicy) return err::kInvalidHandle;
    if (!valid_name(sid) || right.empty()) return err::kInvalidParameter;
    RegistryBatch batch;
    OpenKey key;
    uint32_t rc = key.create(key_of(kRightsKey, sid));
    if (rc == err::kOk) rc = current().reg_set_value(key.get(), right, dword_value(1));
    const uint32_t written = batch.end();
    return rc != err::kOk ? rc : written;
}

uint32_t remove_right(PolicyHandle policy, const std::string &sid, const std::string &right) {
    if (policy != kLocalPolicy) return err::kInvalidHandle;
    if (!valid_name(sid)) return err::kFileNotFound;
    RegistryBatch batch;
    uint32_t rc = err::kOk;
    {
        OpenKey key;
        // An account that holds no right at all is unknown to the policy.
        if (key.open(key_of(kRightsKey, sid)) != err::kOk) return err::kFileNotFound;
        rc = current().reg_delete_value(key.get(), right);
        if (rc == err::kFileNotFound) rc = err::kOk;
        RegKeyInfo info;
        if (rc == err::kOk && current().reg_query_info(key.get(), &info) == err::kOk && info.values == 0)
            rc = current().reg_delete_tree(kLocalMachine, key_of(kRightsKey, sid), RegView::Default);
    }
    const uint32_t written = batch.end();
    return rc != err::kOk ? rc : written;
}

uint32_t logon(const std::string &domain, const std::string &user, const std::string &password) {
    std::string self;
    if (!domain.empty() && domain != "." && !(computer_name(&self) == err::kOk && equal_ci(domain, self)))
        return err::kLogonFailure;
    if (!valid_name(user)) return err::kLogonFailure;
    OpenKey key;
    RegValue hash;
    if (key.open(key_of(kUsersKey, user)) != err::kOk ||
        current().reg_query_value(key.get(), "PasswordHash", &hash) != err::kOk || hash.type != regtype::kSz)
        return err::kLogonFailure;
    std::string stored = hash.data;
    while (!stored.empty() && stored.back() == '\0') stored.pop_back();
    return !stored.empty() && password_matches(password, stored) ? err::kOk : err::kLogonFailure;
}

bool secure_random(void *buffer, std::size_t size) {
    auto *bytes = static_cast<unsigned char *>(buffer);
    while (size > 0) {
        const ssize_t got = ::getrandom(bytes, size, 0);
        if (got < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        bytes += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

}  // namespace dpl::platform::posix

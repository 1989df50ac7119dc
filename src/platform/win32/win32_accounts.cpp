// Accounts, groups and rights of the Win32 backend: the process token, the
// network management calls (users and groups, here or at a domain
// controller), the local security authority (rights) and logon. Names cross
// the interface as ANSI text and the system as wide text.
// windows.h (through the backend's header) comes before the API headers.
#include "platform/win32/win32_platform.hpp"
// clang-format off
#include <bcrypt.h>
#include <dsgetdc.h>
#include <lm.h>
#include <ntsecapi.h>
// clang-format on

#include <mutex>
#include <optional>
#include <vector>

namespace dpl::platform::win32 {
namespace {

constexpr DWORD kNameLength = UNLEN + 1;  // 257, with the terminator
constexpr DWORD kDomainLength = 256;

std::wstring wide(const std::string &text) {
    if (text.empty()) return {};
    const int size = MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring out(static_cast<std::size_t>(size > 0 ? size : 0), L'\0');
    if (size > 0)
        MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()), out.data(), size);
    return out;
}

std::string narrow(const wchar_t *text) {
    if (text == nullptr || *text == L'\0') return {};
    const int size = WideCharToMultiByte(CP_ACP, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 1) return {};
    std::string out(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_ACP, 0, text, -1, out.data(), size, nullptr, nullptr);
    out.pop_back();
    return out;
}

// A wide copy of a password, cleared when it goes.
class WidePassword {
public:
    explicit WidePassword(const std::string &text) : text_(wide(text)) {}
    WidePassword(const WidePassword &) = delete;
    WidePassword &operator=(const WidePassword &) = delete;
    ~WidePassword() { SecureZeroMemory(text_.data(), text_.size() * sizeof(wchar_t)); }
    wchar_t *get() { return text_.data(); }

private:
    std::wstring text_;
};

// The server argument of the network management calls: null for this computer.
class Server {
public:
    explicit Server(const std::string &name) : name_(wide(name)) {}
    LPCWSTR get() const { return name_.empty() ? nullptr : name_.c_str(); }

private:
    std::wstring name_;
};

class NetBuffer {
public:
    NetBuffer() = default;
    NetBuffer(const NetBuffer &) = delete;
    NetBuffer &operator=(const NetBuffer &) = delete;
    ~NetBuffer() {
        if (buffer_ != nullptr) NetApiBufferFree(buffer_);
    }
    LPBYTE *out() { return &buffer_; }

private:
    LPBYTE buffer_ = nullptr;
};

bool lsa_string(const std::wstring &text, LSA_UNICODE_STRING *out) {
    const std::size_t bytes = text.size() * sizeof(wchar_t);
    if (bytes > 0xFFFC) return false;
    out->Buffer = const_cast<PWSTR>(text.c_str());
    out->Length = static_cast<USHORT>(bytes);
    out->MaximumLength = static_cast<USHORT>(bytes + sizeof(wchar_t));
    return true;
}

uint32_t account_of_sid(PSID sid, AccountIdentity *out) {
    wchar_t name[kNameLength] = {};
    wchar_t domain[kDomainLength] = {};
    DWORD name_size = kNameLength;
    DWORD domain_size = kDomainLength;
    SID_NAME_USE use = SidTypeUnknown;
    if (!LookupAccountSidW(nullptr, sid, name, &name_size, domain, &domain_size, &use)) return GetLastError();
    out->name = narrow(name);
    out->domain = narrow(domain);
    return ERROR_SUCCESS;
}

uint32_t token_user(AccountIdentity *out) {
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token)) return GetLastError();
    DWORD size = 0;
    GetTokenInformation(token, TokenUser, nullptr, 0, &size);
    std::vector<unsigned char> buffer(size > 0 ? size : 1);
    uint32_t rc = ERROR_SUCCESS;
    if (!GetTokenInformation(token, TokenUser, buffer.data(), size, &size)) {
        rc = GetLastError();
    } else {
        rc = account_of_sid(reinterpret_cast<TOKEN_USER *>(buffer.data())->User.Sid, out);
    }
    CloseHandle(token);
    return rc;
}

// What cannot change while the process runs is asked once.
template <typename T, typename Make>
uint32_t cached(std::optional<T> &cache, Make &&make, T *out) {
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
    if (!cache) {
        T value{};
        if (const uint32_t rc = make(&value); rc != ERROR_SUCCESS) return rc;
        cache = value;
    }
    *out = *cache;
    return ERROR_SUCCESS;
}

uint32_t administrators_name(std::string *out) {
    SID_IDENTIFIER_AUTHORITY nt = SECURITY_NT_AUTHORITY;
    PSID sid = nullptr;
    if (!AllocateAndInitializeSid(&nt, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS, 0, 0, 0, 0, 0,
                                  0, &sid))
        return GetLastError();
    AccountIdentity account;
    const uint32_t rc = account_of_sid(sid, &account);
    FreeSid(sid);
    if (rc == ERROR_SUCCESS) *out = account.name;
    return rc;
}

PSID as_sid(const std::string &sid) {
    return reinterpret_cast<PSID>(const_cast<char *>(sid.data()));
}

}  // namespace

uint32_t Win32Platform::account_installing_user(AccountIdentity *out) {
    static std::optional<AccountIdentity> cache;
    return cached(cache, token_user, out);
}

uint32_t Win32Platform::account_computer_name(std::string *out) {
    static std::optional<std::string> cache;
    return cached(
        cache,
        [](std::string *name) -> uint32_t {
            wchar_t buffer[MAX_COMPUTERNAME_LENGTH + 1] = {};
            DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
            if (!GetComputerNameW(buffer, &size)) return GetLastError();
            *name = narrow(buffer);
            return ERROR_SUCCESS;
        },
        out);
}

uint32_t Win32Platform::account_domain_controller(std::string *out) {
    PDOMAIN_CONTROLLER_INFOW info = nullptr;
    const DWORD rc = DsGetDcNameW(nullptr, nullptr, nullptr, nullptr, 0, &info);
    if (rc != ERROR_SUCCESS) return rc;
    *out = narrow(info->DomainControllerName);
    NetApiBufferFree(info);
    return ERROR_SUCCESS;
}

uint32_t Win32Platform::account_open_policy(const std::string &server, PolicyHandle *out, int32_t *status) {
    *out = kNoPolicy;
    const std::wstring name = wide(server);
    LSA_UNICODE_STRING system{};
    if (!name.empty() && !lsa_string(name, &system)) return ERROR_INVALID_PARAMETER;
    LSA_OBJECT_ATTRIBUTES attributes{};
    LSA_HANDLE handle = nullptr;
    const NTSTATUS result =
        LsaOpenPolicy(name.empty() ? nullptr : &system, &attributes, POLICY_ALL_ACCESS, &handle);
    *status = static_cast<int32_t>(result);
    if (result != 0) return LsaNtStatusToWinError(result);
    *out = reinterpret_cast<PolicyHandle>(handle);
    return ERROR_SUCCESS;
}

void Win32Platform::account_close_policy(PolicyHandle policy) {
    if (policy != kNoPolicy) LsaClose(reinterpret_cast<LSA_HANDLE>(policy));
}

uint32_t Win32Platform::account_administrators_group(std::string *out) {
    static std::optional<std::string> cache;
    return cached(cache, administrators_name, out);
}

uint32_t Win32Platform::account_find_group(const std::string &server, GroupScope scope,
                                           const std::string &name) {
    const Server at(server);
    const std::wstring group = wide(name);
    NetBuffer buffer;
    if (scope == GroupScope::Local) return NetLocalGroupGetInfo(at.get(), group.c_str(), 0, buffer.out());
    return NetGroupGetInfo(at.get(), group.c_str(), 0, buffer.out());
}

uint32_t Win32Platform::account_find_user(const std::string &server, const std::string &name) {
    const Server at(server);
    const std::wstring user = wide(name);
    NetBuffer buffer;
    return NetUserGetInfo(at.get(), user.c_str(), 0, buffer.out());
}

uint32_t Win32Platform::account_add_group(const std::string &server, GroupScope scope,
                                          const std::string &name, const std::string &comment) {
    const Server at(server);
    std::wstring group = wide(name);
    std::wstring remark = wide(comment);
    DWORD bad_field = 0;
    if (scope == GroupScope::Local) {
        LOCALGROUP_INFO_1 info{group.data(), remark.data()};
        return NetLocalGroupAdd(at.get(), 1, reinterpret_cast<LPBYTE>(&info), &bad_field);
    }
    GROUP_INFO_1 info{group.data(), remark.data()};
    return NetGroupAdd(at.get(), 1, reinterpret_cast<LPBYTE>(&info), &bad_field);
}

uint32_t Win32Platform::account_delete_group(const std::string &server, GroupScope scope,
                                             const std::string &name) {
    const Server at(server);
    const std::wstring group = wide(name);
    if (scope == GroupScope::Local) return NetLocalGroupDel(at.get(), group.c_str());
    return NetGroupDel(at.get(), group.c_str());
}

uint32_t Win32Platform::account_add_member(const std::string &server, GroupScope scope,
                                           const std::string &group, const std::string &member) {
    const Server at(server);
    const std::wstring group_name = wide(group);
    std::wstring member_name = wide(member);
    if (scope == GroupScope::Local) {
        LOCALGROUP_MEMBERS_INFO_3 info{member_name.data()};
        return NetLocalGroupAddMembers(at.get(), group_name.c_str(), 3, reinterpret_cast<LPBYTE>(&info), 1);
    }
    return NetGroupAddUser(at.get(), group_name.c_str(), member_name.c_str());
}

uint32_t Win32Platform::account_add_user(const std::string &server, const NewUser &user) {
    const Server at(server);
    std::wstring name = wide(user.name);
    std::wstring comment = wide(user.comment);
    std::wstring empty;
    WidePassword password(user.password);
    USER_INFO_1 info{};
    info.usri1_name = name.data();
    info.usri1_password = password.get();
    info.usri1_priv = USER_PRIV_USER;
    info.usri1_home_dir = empty.data();
    info.usri1_comment = comment.data();
    info.usri1_flags = user.flags;
    info.usri1_script_path = empty.data();
    DWORD bad_field = 0;
    return NetUserAdd(at.get(), 1, reinterpret_cast<LPBYTE>(&info), &bad_field);
}

uint32_t Win32Platform::account_delete_user(const std::string &server, const std::string &name) {
    const Server at(server);
    const std::wstring user = wide(name);
    return NetUserDel(at.get(), user.c_str());
}

uint32_t Win32Platform::account_lookup_sid(const std::string &name, std::string *sid) {
    const std::wstring account = wide(name);
    DWORD sid_size = 0;
    DWORD domain_size = 0;
    SID_NAME_USE use = SidTypeUnknown;
    LookupAccountNameW(nullptr, account.c_str(), nullptr, &sid_size, nullptr, &domain_size, &use);
    if (sid_size == 0) return GetLastError();
    std::string bytes(sid_size, '\0');
    std::wstring domain(domain_size + 1, L'\0');
    if (!LookupAccountNameW(nullptr, account.c_str(), as_sid(bytes), &sid_size, domain.data(), &domain_size,
                            &use))
        return GetLastError();
    *sid = bytes;
    return ERROR_SUCCESS;
}

uint32_t Win32Platform::account_add_right(PolicyHandle policy, const std::string &sid,
                                          const std::string &right) {
    const std::wstring name = wide(right);
    LSA_UNICODE_STRING text{};
    if (!lsa_string(name, &text)) return ERROR_INVALID_PARAMETER;
    const NTSTATUS result = LsaAddAccountRights(reinterpret_cast<LSA_HANDLE>(policy), as_sid(sid), &text, 1);
    return result == 0 ? ERROR_SUCCESS : LsaNtStatusToWinError(result);
}

uint32_t Win32Platform::account_remove_right(PolicyHandle policy, const std::string &sid,
                                             const std::string &right) {
    const std::wstring name = wide(right);
    LSA_UNICODE_STRING text{};
    if (!lsa_string(name, &text)) return ERROR_INVALID_PARAMETER;
    const NTSTATUS result =
        LsaRemoveAccountRights(reinterpret_cast<LSA_HANDLE>(policy), as_sid(sid), FALSE, &text, 1);
    return result == 0 ? ERROR_SUCCESS : LsaNtStatusToWinError(result);
}

uint32_t Win32Platform::account_logon(const std::string &domain, const std::string &user,
                                      const std::string &password) {
    const std::wstring domain_name = wide(domain);
    const std::wstring user_name = wide(user);
    WidePassword secret(password);
    HANDLE token = nullptr;
    if (!LogonUserW(user_name.c_str(), domain_name.c_str(), secret.get(), LOGON32_LOGON_INTERACTIVE,
                    LOGON32_PROVIDER_DEFAULT, &token))
        return GetLastError();
    CloseHandle(token);
    return ERROR_SUCCESS;
}

bool Win32Platform::secure_random(void *buffer, std::size_t size) {
    auto *bytes = static_cast<unsigned char *>(buffer);
    while (size > 0) {
        const ULONG chunk = size > 0x10000000u ? 0x10000000u : static_cast<ULONG>(size);
        if (!BCRYPT_SUCCESS(BCryptGenRandom(nullptr, bytes, chunk, BCRYPT_USE_SYSTEM_PREFERRED_RNG)))
            return false;
        bytes += chunk;
        size -= chunk;
    }
    return true;
}

}  // namespace dpl::platform::win32

// Who is installing, on which computer, with which powers, and the accounts
// the product needs. Held by the control block; built by initDplUser.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dpl/dpl.h"
#include "platform/platform.hpp"

namespace dpl::user {

// Clears secret bytes so that they do not outlive their use in freed memory.
void wipe(void *data, std::size_t size);
void wipe(std::string &text);

// A string whose bytes are cleared before its memory is released.
class SecretText {
public:
    SecretText() = default;
    SecretText(const SecretText &) = delete;
    SecretText &operator=(const SecretText &) = delete;
    ~SecretText() { clear(); }
    void assign(std::string_view text);
    void clear();
    const std::string &text() const { return text_; }
    bool empty() const { return text_.empty(); }

private:
    std::string text_;
};

// One account the product needs; kind 0 runs the server, kind 4 the JSON
// listener, kinds 1 to 3 are the role-separation accounts.
struct Account {
    uint32_t properties = 0;  // DPL_P_GROUP_EXISTS ... DPL_P_DOMAIN_USER_EXISTS
    int32_t kind = 0;
    std::optional<std::string> group;
    std::optional<std::string> user;
    SecretText password;
};

inline constexpr int32_t kFirstKind = 0;
inline constexpr int32_t kLastKind = 4;

struct UserContext {
    UserContext() = default;
    UserContext(const UserContext &) = delete;
    UserContext &operator=(const UserContext &) = delete;
    ~UserContext() { release(); }

    // Frees the account list, the caches and the password copy, and closes
    // the policy handle.
    void release();

    uint32_t properties = 0;  // installation property n in bit n
    std::string user_name;
    std::string domain_name;
    std::string computer_name;
    std::string controller;      // "\\NAME", empty outside a domain
    std::string administrators;  // the local Administrators group's name
    platform::PolicyHandle policy = platform::kNoPolicy;
    std::optional<std::string> domain_copy;      // made on first use
    std::optional<std::string> controller_copy;  // made on first use
    std::string account_name;                    // the composed qualified name last asked for
    std::vector<std::unique_ptr<Account>> accounts;
    // Unknown properties never stop the caller: they are recorded here.
    int32_t last_error = 0;
    int32_t previous_error = 0;
};

// The account of `kind` whose group and user name also match when given.
Account *find_account(UserContext &context, int32_t kind, const char *group = nullptr,
                      const char *user = nullptr);

bool property(const UserContext &context, uint32_t number);
// Sets (value 1) or clears a property with its trace; -999 for one above 7.
int32_t set_property(UserContext &context, uint32_t number, int32_t value);
void record_error(UserContext &context, int32_t code);

const char *true_false(bool value);
// The text of an optional name in traces.
const char *or_null(const std::optional<std::string> &name);

}  // namespace dpl::user

// The Windows services of a deployed instance: the database server's, and
// first the JSON listener's when the block asks for the listener.
#include <string>

#include "core/control_block.hpp"
#include "trace/trace.hpp"
#include "user/user_context.hpp"

using dpl::trace::kInstance;

namespace {

// The texts the service manager takes are held in buffers of these sizes;
// a text that does not fit cannot be formatted.
constexpr std::size_t kDisplayNameLimit = 259;
constexpr std::size_t kCommandLineLimit = 519;

// "<directory>\bin\<program> <argument>", with this system's separator.
std::string command_line(const std::string &directory, const char *program, const std::string &argument) {
    const char separator = dpl::platform::current().path_separator();
    return directory + separator + "bin" + separator + program + " " + argument;
}

int32_t deploy_services(InstallControlBlock &block) {
    if (block.current == nullptr) {
        ht_log("dplDeployWindowsService: current instance undefined\n");
        return DPL_E_NULL_ARGUMENT;
    }
    Instance &instance = *block.current;
    const dpl::core::EnvironmentEntry *server = dpl::core::find_environment(instance, "ORVANDEXSERVER");
    if (server == nullptr) {
        ht_log("dplDeployWindowsService: ORVANDEXSERVER not found\n");
        return DPL_E_NULL_ARGUMENT;
    }
    const dpl::core::EnvironmentEntry *directory = dpl::core::find_environment(instance, "ORVANDEXDIR");
    if (directory == nullptr) {
        ht_log("dplDeployWindowsService: ORVANDEXDIR not found\n");
        return DPL_E_NULL_ARGUMENT;
    }
    const dpl::user::Account *product = dpl::user::find_account(block.user, DPL_ACCOUNT_PRODUCT_USER);
    if (product == nullptr) {
        ht_log("dplDeployWindowsService: user lookup failed\n");
        return DPL_E_NULL_ARGUMENT;
    }

    if ((block.mode & DPL_MODE_NO_SQL) != 0) {
        const std::string listener = server->value + "_json";
        const dpl::user::Account *account = dpl::user::find_account(block.user, DPL_ACCOUNT_JSON_LISTENER);
        if (account == nullptr) {
            ht_log("dplDeployWindowsService: user lookup failed\n");
            return DPL_E_NULL_ARGUMENT;
        }
        const std::string command = command_line(directory->value, "jsonlsn", listener);
        if (command.size() > kCommandLineLimit) {
            ht_log("dplDeployWindowsService: unable to determine full path to json listner\n");
            return DPL_E_FAIL;
        }
        const std::string display = "Talix JSON listener - " + listener;
        if (display.size() > kDisplayNameLimit) {
            ht_log("dplDeployWindowsService: unable to print json service name\n");
            return DPL_E_FAIL;
        }
        const char *account_name = dplGetAccountName_a(&block, DPL_ACCOUNT_JSON_LISTENER);
        const std::string name = account_name != nullptr ? account_name : "";
        if (dplWinServiceCreate(&block, listener.c_str(), display.c_str(), "", command.c_str(), name.c_str(),
                                account->password.text().c_str()) != DPL_OK) {
            ht_log("dplDeployWindowsService: unable deploy json listner service\n");
            return DPL_E_FAIL;
        }
    }

    const std::string command = command_line(directory->value, "onscpah", server->value);
    if (command.size() > kCommandLineLimit) {
        ht_log("dplDeployWindowsService: unable to determine full path\n");
        return DPL_E_FAIL;
    }
    const std::string display = "Orvandex NQR - " + server->value;
    if (display.size() > kDisplayNameLimit) {
        ht_log("dplDeployWindowsService: unable to print server name\n");
        return DPL_E_FAIL;
    }
    // The system account unless the server runs as the product user.
    std::string account;
    if (dplGetInstallationProperty(&block, DPL_P_RUNAS_USER) != 0) {
        const char *name = dplGetAccountName(&block);
        if (name != nullptr && *name != '\0') {
            account = name;
        } else {
            ht_log(
                "dplDeployWindowsService: unable to determine user for installation, defaulting to "
                ".\\orvandex");
            account = ".\\orvandex";
        }
    }
    return dplWinServiceCreate(&block, server->value.c_str(), display.c_str(), "", command.c_str(),
                               account.empty() ? nullptr : account.c_str(),
                               account.empty() ? nullptr : product->password.text().c_str());
}

}  // namespace

extern "C" int32_t dplDeployWindowsService(InstallControlBlock *pointer) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kInstance, __LINE__, "dplDeployWindowsService",
                                   [&] { return deploy_services(*block); });
}

// Win32 backend: the service control manager. Each call is a thin
// translation and answers the code GetLastError() gave.
#include "platform/win32/win32_platform.hpp"

#include <winsvc.h>

namespace dpl::platform::win32 {
namespace {

SC_HANDLE to_sc(ScHandle handle) {
    return reinterpret_cast<SC_HANDLE>(handle);
}

ScHandle from_sc(SC_HANDLE handle) {
    return reinterpret_cast<ScHandle>(handle);
}

const char *text_or_null(const std::string &text) {
    return text.empty() ? nullptr : text.c_str();
}

uint32_t opened(SC_HANDLE handle, ScHandle *out) {
    *out = from_sc(handle);
    return handle != nullptr ? 0 : GetLastError();
}

}  // namespace

uint32_t Win32Platform::sc_open_manager(const std::string &database, ScHandle *out) {
    return opened(OpenSCManagerA(nullptr, text_or_null(database), SC_MANAGER_ALL_ACCESS), out);
}

uint32_t Win32Platform::sc_open_service(ScHandle manager, const std::string &name, uint32_t access,
                                        ScHandle *out) {
    return opened(OpenServiceA(to_sc(manager), name.c_str(), access), out);
}

uint32_t Win32Platform::sc_create_service(ScHandle manager, const ServiceDefinition &service, ScHandle *out) {
    // Without an account the service runs as the system account, which takes
    // no password.
    const bool has_account = !service.account.empty();
    const char *password = has_account && service.password != nullptr ? service.password : "";
    return opened(CreateServiceA(to_sc(manager), service.name.c_str(), text_or_null(service.display_name),
                                 SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START,
                                 SERVICE_ERROR_NORMAL, service.command_line.c_str(), nullptr, nullptr,
                                 nullptr, has_account ? service.account.c_str() : nullptr, password),
                  out);
}

uint32_t Win32Platform::sc_set_description(ScHandle service, const std::string &description) {
    std::string text = description;
    SERVICE_DESCRIPTIONA info{};
    info.lpDescription = text.data();
    if (!ChangeServiceConfig2A(to_sc(service), SERVICE_CONFIG_DESCRIPTION, &info)) return GetLastError();
    return 0;
}

uint32_t Win32Platform::sc_delete_service(ScHandle service) {
    return DeleteService(to_sc(service)) ? 0 : GetLastError();
}

uint32_t Win32Platform::sc_control_stop(ScHandle service, ServiceStatus *status) {
    SERVICE_STATUS reported{};
    const BOOL sent = ControlService(to_sc(service), SERVICE_CONTROL_STOP, &reported);
    const uint32_t code = sent ? 0 : GetLastError();
    if (status != nullptr) status->current_state = reported.dwCurrentState;
    return code;
}

uint32_t Win32Platform::sc_query_status(ScHandle service, ServiceStatus *status) {
    SERVICE_STATUS reported{};
    if (!QueryServiceStatus(to_sc(service), &reported)) return GetLastError();
    if (status != nullptr) status->current_state = reported.dwCurrentState;
    return 0;
}

uint32_t Win32Platform::sc_close(ScHandle handle) {
    return CloseServiceHandle(to_sc(handle)) ? 0 : GetLastError();
}

}  // namespace dpl::platform::win32

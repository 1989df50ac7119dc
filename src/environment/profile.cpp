#include "environment/profile.hpp"

#include "environment/whole_file.hpp"
#include "platform/platform.hpp"
#include "trace/trace.hpp"

namespace dpl::environment {

namespace {

struct ShellForm {
    const char *extension;
    const char *keyword;
    char separator;
};

const ShellForm &form_of(int32_t kind) {
    static const ShellForm kForms[] = {
        {".csh", "setenv", ' '},
        {".ksh", "", '='},
        {".cmd", "set", '='},
    };
    return kForms[kind - DPL_PROFILE_CSH];
}

// Eight names to an export line.
constexpr std::size_t kExportsPerLine = 8;

}  // namespace

bool is_profile_kind(int32_t kind) {
    return kind == DPL_PROFILE_CSH || kind == DPL_PROFILE_KSH || kind == DPL_PROFILE_CMD;
}

std::string profile_text(const Instance &instance, int32_t kind) {
    const ShellForm &form = form_of(kind);
    std::string text;
    std::string exports = "export";
    std::size_t exported = 0;
    for (const core::EnvironmentEntry &entry : instance.environment) {
        if (entry.kind != core::kEnvironmentSetting) continue;
        // The Korn shell form keeps its leading blank: the keyword is empty.
        text.append(form.keyword).append(" ").append(entry.name);
        text.push_back(form.separator);
        text.append(entry.value).append("\n");
        if (exported > 0 && exported % kExportsPerLine == 0) exports += "\nexport";
        exports.append(" ").append(entry.name);
        ++exported;
    }
    if (kind == DPL_PROFILE_KSH) text.append(exports).append("\n");
    return text;
}

std::string profile_path(const Instance &instance, const std::string &server, int32_t kind) {
    std::string path;
    for (const core::EnvironmentEntry &entry : instance.environment) {
        if (entry.kind == core::kEnvironmentSetting && entry.name == "ORVANDEXDIR") {
            path = entry.value + platform::current().path_separator();
            break;
        }
    }
    return path + server + form_of(kind).extension;
}

int32_t write_profile(const Instance &instance, const std::string &server, int32_t kind) {
    const std::string path = profile_path(instance, server, kind);
    uint32_t error = 0;
    if (!write_whole_file(path, profile_text(instance, kind), &error)) {
        ht_debug(5, trace::kInstance, __LINE__, "Cannot OPEN/CREATE '%s'. errno = %d.", path.c_str(),
                 static_cast<int>(error));
        return DPL_E_OPEN_WRITE;
    }
    return DPL_OK;
}

}  // namespace dpl::environment

#include "deploy/deploy_script.hpp"

#include "trace/trace.hpp"

namespace dpl::deploy {

std::string script_path(const InstallControlBlock &block, Instance &instance) {
    const char separator = platform::current().path_separator();
    std::string path;
    if (const core::EnvironmentEntry *dir = core::find_environment(instance, "ORVANDEXDIR"))
        path = dir->value;
    path.append(1, separator).append("etc").append(1, separator).append("sysadmin").append(1, separator);
    if ((block.mode & DPL_MODE_MAINTENANCE) != 0) {
        path.append("sch_sqlcap.sql");
    } else {
        const core::EnvironmentEntry *server = core::find_environment(instance, "ORVANDEXSERVER");
        path.append("sch_init_").append(server != nullptr ? server->value : std::string()).append(".sql");
    }
    return path;
}

bool ScriptFile::open(const InstallControlBlock &block, Instance &instance) {
    close();
    const std::string path = script_path(block, instance);
    platform::OpenOptions options;
    options.read = false;
    options.write = true;
    options.disposition = platform::Disposition::OpenAlways;
    uint32_t error = 0;
    file_ = platform::current().open_file(path, options, &error);
    if (file_ == platform::kNoFile) {
        ht_log("dplGetDeployFile: %s not found.", path.c_str());
        return false;
    }
    pending_.clear();
    return true;
}

bool ScriptFile::close() {
    if (file_ == platform::kNoFile) return true;
    auto &os = platform::current();
    const std::string_view line_end = os.text_line_end();
    std::string text;
    if (line_end == "\n") {
        text.swap(pending_);
    } else {
        text.reserve(pending_.size() + pending_.size() / 16);
        for (const char c : pending_) {
            if (c == '\n') {
                text.append(line_end);
            } else {
                text.push_back(c);
            }
        }
        pending_.clear();
    }
    bool ok = os.seek_to_end(file_);
    if (ok && !text.empty()) ok = os.write_file(file_, text.data(), text.size());
    if (os.close_file(file_) != 0) ok = false;
    file_ = platform::kNoFile;
    return ok;
}

}  // namespace dpl::deploy

#include "deploy/deploy_script.hpp"

#include "core/text_file.hpp"
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
    std::string text;
    if (std::string_view(os.text_line_end()) == "\n") {
        text.swap(pending_);
    } else {
        try {
            core::append_text_mode(&text, pending_);
        } catch (...) {
            // Nothing of this writer's text is written: the file stays as the
            // previous writer left it.
            os.close_file(file_);
            file_ = platform::kNoFile;
            pending_.clear();
            throw;
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

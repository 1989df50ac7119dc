// The instance's set-up script for the server's sysadmin database. Several
// writers add to it in turn; each opens it for appending, gathers its text
// and hands it to the file in one write when it closes it, so a writer's
// statements are in the file whole or not at all.
#pragma once

#include <string>
#include <string_view>

#include "core/control_block.hpp"
#include "platform/platform.hpp"

namespace dpl::deploy {

// "<ORVANDEXDIR>/etc/sysadmin/sch_init_<server>.sql", or "sch_sqlcap.sql" in
// that directory for a capture-only deployment.
std::string script_path(const InstallControlBlock &block, Instance &instance);

class ScriptFile {
public:
    ScriptFile() = default;
    ScriptFile(const ScriptFile &) = delete;
    ScriptFile &operator=(const ScriptFile &) = delete;
    // A writer that throws before closing leaves its text unwritten.
    ~ScriptFile() {
        try {
            close();
        } catch (...) {  // NOLINT(bugprone-empty-catch): the handle is closed by then
        }
    }

    // Opens the script for appending (creating it in an existing directory).
    // False, after the log line "dplGetDeployFile: <path> not found.", when
    // it cannot be opened.
    bool open(const InstallControlBlock &block, Instance &instance);
    void write(std::string_view text) { pending_.append(text); }
    // Writes what was gathered, with the system's text line ends; false when
    // the write failed.
    bool close();

private:
    platform::FileHandle file_ = platform::kNoFile;
    std::string pending_;
};

// A number as "%ld" and "%d" print it.
inline std::string number(int64_t value) {
    return std::to_string(value);
}

}  // namespace dpl::deploy

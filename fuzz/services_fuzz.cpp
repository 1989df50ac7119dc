// Reads arbitrary bytes as a services file, asks the model about the names
// and ports in it, writes it out and edits it. Blank, comment and verbatim
// lines must come back byte for byte and in order, service lines must be
// written so that they read back the same, and every lookup must agree with
// a plain walk over the lines.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "core/control_block.hpp"
#include "dpl/dpl.h"
#include "fuzz_support.hpp"
#include "services/services_file.hpp"
#include "services_oracle.hpp"

namespace {

using dpl::services::ServicesFile;
using dpl::services::ServicesLine;

struct Place {
    std::string input;
    std::string output;
    InstallControlBlock *block = nullptr;
};

const Place &place() {
    static const Place where = [] {
        Place made;
        const auto home = std::filesystem::temp_directory_path() /
                          ("services_fuzz_" + std::to_string(static_cast<long>(::getpid())));
        std::filesystem::create_directories(home);
        made.input = (home / "services").string();
        made.output = (home / "services.out").string();
        made.block = init_API(0, 1, "p", "12.10.FC1");
        return made;
    }();
    return where;
}

using dpl::fuzz::check;
using dpl::fuzz::check_written;
using dpl::fuzz::pieces_of;

std::string read_back(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

bool carries(const ServicesLine &line, const std::string &name, const char *protocol) {
    if (protocol != nullptr && protocol[0] != '\0' && line.protocol != protocol) return false;
    if (line.text_or_name == name) return true;
    for (const std::string &alias : line.aliases) {
        if (alias == name) return true;
    }
    return false;
}

// Lookups through the API against a walk from the most recent line.
void check_lookups(InstallControlBlock *block, const std::vector<std::string> &names) {
    const ServicesFile &file = block->services;
    for (const std::string &name : names) {
        for (const char *protocol : {static_cast<const char *>(nullptr), "tcp", "udp"}) {
            int16_t expected = 0;
            bool named = false;
            for (auto it = file.lines().rbegin(); it != file.lines().rend(); ++it) {
                if (it->kind == dpl::services::kServiceLine && carries(*it, name, protocol)) {
                    expected = static_cast<int16_t>(it->port);
                    named = true;
                    break;
                }
            }
            check(dplServicesGetPortFromName(block, name.c_str(), protocol) == expected);
            // A service the machine's service manager knows is taken too.
            uint32_t error = 0;
            const bool installed = dpl::platform::current().query_service(name, &error) ==
                                   dpl::platform::ServiceQuery::Installed;
            check(dplServicesTestName(block, name.c_str(), protocol) == (named || installed ? 1 : 0));
            if (named && expected != 0) {
                const uint16_t port = static_cast<uint16_t>(expected);
                check(dplServicesTestPort(block, port, protocol) == 2);
                check(dplServicesTestPort(block, port, nullptr) == 2);
            }
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const Place &where = place();
    InstallControlBlock *block = where.block;
    check(block != nullptr);
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    {
        std::ofstream out(where.input, std::ios::binary | std::ios::trunc);
        out.write(text.data(), static_cast<std::streamsize>(text.size()));
    }
    dplServicesFree(block);
    check(dplServicesLoad(block, where.input.c_str()) == DPL_OK);
    check(dplServicesStatus(block) == 1);
    // The machine's sockets are not part of the input.
    check(dplServicesCheatSockets(block) == DPL_OK);

    check(dplServicesDeployFile(block, where.output.c_str()) == DPL_OK);
    check_written(block->services, pieces_of(dpl::fuzz::as_text_mode(text)),
                  dpl::fuzz::as_text_mode(read_back(where.output)));

    std::vector<std::string> names;
    for (const ServicesLine &line : block->services.lines()) {
        if (line.kind != dpl::services::kServiceLine || names.size() >= 16) continue;
        names.push_back(line.text_or_name);
        for (const std::string &alias : line.aliases) names.push_back(alias);
    }
    names.push_back("absent");
    check_lookups(block, names);

    uint16_t port = 0;
    check(dplServicesGeneratePort(block, &port, 0) == DPL_OK);
    check(port >= 1026 && port <= 33793 && dplServicesTestPort(block, port, nullptr) == 0);
    char *generated = nullptr;
    check(dplServicesGenerateName(block, &generated, names.front().c_str()) == DPL_OK);
    check(generated != nullptr);
    dplFree(generated);

    // Edits keep the indexes in step with the lines.
    const std::size_t before = block->services.lines().size();
    const char *aliases[] = {"fuzz-alias"};
    const int32_t added = dplServicesAddService(block, "fuzz-svc", port, "tcp", 1, aliases, "added\r\nhere");
    check(added == DPL_OK || added == DPL_E_INVALID_VALUE);
    check(dplServicesAddComment(block, "one\ntwo") == DPL_OK);
    check(dplServicesRemoveService(block, 0, names.front().c_str(), nullptr) == DPL_OK);
    if (names.size() > 1) {
        check(dplServicesRemoveService(block, static_cast<uint16_t>(names.size()), nullptr, "udp") == DPL_OK);
    }
    names.push_back("fuzz-svc");
    names.push_back("fuzz-alias");
    check_lookups(block, names);
    check(block->services.lines().size() <= before + 3);
    check(dplServicesDeploy(block) == DPL_OK);
    check(dplServicesStatus(block) == 1);
    return 0;
}

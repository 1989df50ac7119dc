#include "autoconfig/parameter_writer.hpp"

#include <cstdlib>
#include <memory>

#include "core/control_block.hpp"
#include "platform/platform.hpp"

namespace dpl::autoconfig {

namespace {

constexpr std::size_t kShortPathLimit = 255;

}  // namespace

void ParameterWriter::text(const char *name, const std::string &value) {
    if (!ok()) return;
    ht_log("Setting %s to %s in config file\n", name, value.c_str());
    const int32_t rc = dplSetConfig(instance_, name, value.c_str(), nullptr);
    if (rc != DPL_OK) {
        ht_log("Failed to write %s to config file ret %d\n", name, static_cast<int>(rc));
        status_ = rc;
    }
}

void ParameterWriter::number(const char *name, int64_t value) {
    text(name, std::to_string(value));
}

int32_t read_server_place(InstallControlBlock &block, ServerPlace *place, const char *missing_server,
                          const char *missing_dir) {
    const char *server = nullptr;
    const char *directory = nullptr;
    if (dplGetEnvironment(&block, "ORVANDEXSERVER", &server) != DPL_OK || server == nullptr) {
        ht_log("%s", missing_server);
        return DPL_E_STAGE;
    }
    if (dplGetEnvironment(&block, "ORVANDEXDIR", &directory) != DPL_OK || directory == nullptr) {
        ht_log("%s", missing_dir);
        return DPL_E_STAGE;
    }
    place->server = server;
    place->directory = short_form(directory);
    return DPL_OK;
}

std::string join_path(const std::string &directory, const std::string &name) {
    std::string path = directory;
    path.push_back(platform::current().path_separator());
    path += name;
    return path;
}

std::string short_form(const std::string &path) {
    std::optional<std::string> shorter = platform::current().short_path(path, kShortPathLimit);
    return shorter && !shorter->empty() ? *shorter : path;
}

void write_chunk_path(InstallControlBlock &block, ParameterWriter &writer, const char *name,
                      const std::string &file, const char *what) {
    if (!writer.ok()) return;
    const int32_t rc = dplCreateFile(&block, file.c_str());
    if (rc < 0) {
        ht_log("Failed to create %s chunk rc = %d\n", what, static_cast<int>(rc));
        writer.fail(rc);
        return;
    }
    writer.text(name, short_form(file));
}

void write_nettypes(InstallControlBlock &block, ParameterWriter &writer, int32_t poll_threads) {
    for (const Connection *at = block.current->connections.head(); at != nullptr && writer.ok();
         at = at->next) {
        if (at->kind != DPL_CONNECTION_ENTRY) continue;
        const std::unique_ptr<char, decltype(&dplFree)> protocol(dplMapProtocol(at->protocol), &dplFree);
        std::string value = protocol != nullptr ? protocol.get() : "";
        value += "," + std::to_string(poll_threads) + ",150,NET";
        writer.text("NETTYPE", value);
    }
}

}  // namespace dpl::autoconfig

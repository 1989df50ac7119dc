// Writing the model back as a services file.
#include <cstdio>
#include <string>

#include "core/replacement_file.hpp"
#include "services/services_internal.hpp"
#include "trace/trace.hpp"

using dpl::services::loaded_services;
using dpl::services::ServicesFile;
using dpl::services::ServicesLine;
using dpl::trace::kServices;
using dpl::trace::traced_call;

namespace dpl::services {
namespace {

void pad(std::string &out, uint64_t used, uint64_t width) {
    if (used < width) out.append(static_cast<std::size_t>(width - used), ' ');
}

// A service line in the columns of the file: the name and the protocol
// padded to the widest ones, the port right-aligned in five columns, the
// aliases padded to the widest alias list.
void render_service(const ServicesFile &file, const ServicesLine &line, std::string &out) {
    out += line.text_or_name;
    pad(out, line.text_or_name.size(), file.name_width);
    char port[16];
    std::snprintf(port, sizeof port, "\t%5hu/", line.port);
    out += port;
    out += line.protocol;
    pad(out, line.protocol.size(), file.protocol_width);
    out += '\t';
    uint64_t alias_length = 0;
    for (const std::string &alias : line.aliases) {
        out += ' ';
        out += alias;
        alias_length += alias.size() + 1;
    }
    pad(out, alias_length, file.alias_width);
    if (line.comment) {
        out += "\t#";
        out += *line.comment;
    }
    out += '\n';
}

}  // namespace

void render_line(const ServicesFile &file, const ServicesLine &line, std::string &out) {
    switch (line.kind) {
        case dpl::services::kBlankLine:
            out += '\n';
            break;
        case dpl::services::kCommentLine:
            out += '#';
            out += line.text_or_name;
            break;
        case dpl::services::kServiceLine:
            render_service(file, line, out);
            break;
        default:
            out += line.text_or_name;
            break;
    }
}

}  // namespace dpl::services

namespace {

using dpl::services::render_line;

int32_t deploy_file(InstallControlBlock *pointer, const char *path) {
    ServicesFile *file = loaded_services(pointer);
    if (file == nullptr) {
        ht_debug(5, kServices, __LINE__, "Error: The install structure is null in dplServicesDeployFile.");
        return DPL_E_BAD_CONTEXT;
    }
    if (path == nullptr || path[0] == '\0') {
        ht_debug(5, kServices, __LINE__,
                 "Error: The file parameter is null or blank in dplServicesDeployFile.");
        return DPL_E_NULL_ARGUMENT;
    }
    dpl::core::ReplacementFile writer;
    uint32_t error = 0;
    bool written = writer.open(path, &error);
    if (written) {
        std::string text;
        for (const ServicesLine &line : file->lines()) {
            text.clear();
            render_line(*file, line, text);
            if (!writer.write(text)) break;
        }
        written = writer.commit();
    }
    // A file that could not be written whole was not written at all: the old
    // one stays, and the model stays changed for another attempt.
    if (!written) {
        ht_debug(5, kServices, __LINE__,
                 "Error: The file %s could not be opened for writing in dplServicesDeployFile\n", path);
        return DPL_E_INVALID_VALUE;
    }
    ht_debug(5, kServices, __LINE__, "Wrote services to %s\n", path);
    file->status = dpl::services::kUnchanged;
    return DPL_OK;
}

int32_t deploy(InstallControlBlock *pointer) {
    ServicesFile *file = loaded_services(pointer);
    if (file == nullptr) {
        ht_debug(5, kServices, __LINE__, "Error: The install structure is null in dplServicesDeploy.");
        return DPL_E_BAD_CONTEXT;
    }
    if (!file->path || file->path->empty()) {
        ht_debug(5, kServices, __LINE__,
                 "Error: No services file was opened; dplServicesDeploy does not know where to write to.");
        return DPL_E_FAIL;
    }
    if (file->status == dpl::services::kChanged) {
        // A private installation never rewrites the system's services file.
        if ((pointer->mode & DPL_MODE_PRIVATE) != 0) return DPL_OK;
        const std::string path = *file->path;
        return dplServicesDeployFile(pointer, path.c_str());
    }
    ht_debug(5, kServices, __LINE__,
             "Warning: dplServicesDeploy refusing to rewrite services file as it has not been changed.");
    return DPL_OK;
}

}  // namespace

extern "C" {

int32_t dplServicesDeployFile(InstallControlBlock *block, const char *path) {
    return traced_call(kServices, __LINE__, "dplServicesDeployFile",
                       [&] { return deploy_file(block, path); });
}

int32_t dplServicesDeploy(InstallControlBlock *block) {
    return traced_call(kServices, __LINE__, "dplServicesDeploy", [&] { return deploy(block); });
}

}  // extern "C"

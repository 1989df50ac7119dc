// Adding and removing service lines, and adding comment lines.
#include <new>
#include <string>
#include <string_view>

#include "services/services_internal.hpp"
#include "trace/trace.hpp"

using dpl::services::kChanged;
using dpl::services::loaded_services;
using dpl::services::ServicesFile;
using dpl::services::ServicesLine;
using dpl::trace::kServices;
using dpl::trace::traced_call;

namespace {

bool given(const char *text) {
    return text != nullptr && text[0] != '\0';
}

// The first character of `text` that may not appear in a service name or
// alias (ASCII letters and digits, '-' and '_'), or NUL when there is none.
char invalid_character(const char *text) {
    for (const char *at = text; *at != '\0'; ++at) {
        const char c = *at;
        const bool valid = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                           c == '-' || c == '_';
        if (!valid) return c;
    }
    return '\0';
}

// Checks every alias; 0 when all of them may be added.
int32_t check_aliases(InstallControlBlock *block, int32_t alias_count, const char *const *aliases,
                      const char *protocol) {
    if (aliases == nullptr) {
        ht_debug(5, kServices, __LINE__,
                 "Error: The aliascount is greater than zero and aliases is null in dplServicesAddService.");
        return DPL_E_NULL_ARGUMENT;
    }
    for (int32_t i = 0; i < alias_count; ++i) {
        const char *alias = aliases[i];
        if (!given(alias)) {
            ht_debug(5, kServices, __LINE__, "Error: Alias %i is null or blank in dplServicesAddService\n",
                     i);
            return DPL_E_NULL_ARGUMENT;
        }
        if (const char bad = invalid_character(alias); bad != '\0') {
            ht_debug(5, kServices, __LINE__,
                     "Error: Alias \"%s\" contains an invalid character '%c' in dplServicesAddService\n",
                     alias, bad);
            return DPL_E_INVALID_VALUE;
        }
        if (dplServicesTestName(block, alias, protocol) != 0) {
            ht_debug(
                5, kServices, __LINE__,
                "Error: Alias %s is already used in dplServicesAddService (check before adding, please)\n",
                alias);
            return DPL_E_INVALID_VALUE;
        }
    }
    return DPL_OK;
}

// Fills a service line from the checked arguments; 0 or -1000.
int32_t build_line(ServicesLine *line, const char *name, uint16_t port, const char *protocol,
                   int32_t alias_count, const char *const *aliases, const char *comment) {
    line->kind = dpl::services::kServiceLine;
    line->port = port;
    try {
        line->text_or_name = name;
    } catch (const std::bad_alloc &) {
        ht_debug(5, kServices, __LINE__, "Error: Couldn't allocate new string for name.");
        return DPL_E_NOMEM;
    }
    try {
        line->protocol = protocol;
    } catch (const std::bad_alloc &) {
        ht_debug(5, kServices, __LINE__, "Error: Couldn't allocate new string for protocol.");
        return DPL_E_NOMEM;
    }
    try {
        line->aliases.resize(static_cast<std::size_t>(alias_count));
    } catch (const std::bad_alloc &) {
        ht_debug(5, kServices, __LINE__, "Error: Couldn't allocate new name node.");
        return DPL_E_NOMEM;
    }
    for (int32_t i = 0; i < alias_count; ++i) {
        try {
            line->aliases[static_cast<std::size_t>(i)] = aliases[i];
        } catch (const std::bad_alloc &) {
            ht_debug(5, kServices, __LINE__, "Error: Couldn't allocate new string for alias %i\n", i);
            return DPL_E_NOMEM;
        }
    }
    if (given(comment)) {
        try {
            // The comment stays on its line.
            std::string text = comment;
            for (char &c : text) {
                if (c == '\n' || c == '\r') c = ' ';
            }
            line->comment = std::move(text);
        } catch (const std::bad_alloc &) {
            ht_debug(5, kServices, __LINE__, "Error: Couldn't allocate new string for comment.");
            return DPL_E_NOMEM;
        }
    }
    return DPL_OK;
}

int32_t add_service(InstallControlBlock *pointer, const char *name, uint16_t port, const char *protocol,
                    int32_t alias_count, const char *const *aliases, const char *comment) {
    ServicesFile *file = loaded_services(pointer);
    if (file == nullptr) {
        ht_debug(5, kServices, __LINE__, "Error: The install structure is null in dplServicesAddService.");
        return DPL_E_BAD_CONTEXT;
    }
    if (!given(name) || !given(protocol)) {
        ht_debug(5, kServices, __LINE__,
                 "Error: The name or protocol parameter is null or blank in dplServicesAddService.");
        return DPL_E_NULL_ARGUMENT;
    }
    if (port == 0) {
        ht_debug(5, kServices, __LINE__, "Error: The port is the reserved value 0 in dplServicesAddService.");
        return DPL_E_INVALID_VALUE;
    }
    if (dplServicesTestPort(pointer, port, protocol) != 0) {
        ht_debug(5, kServices, __LINE__,
                 "Error: Port %hu is already used in dplServicesAddService (check before adding, please).",
                 port);
        return DPL_E_INVALID_VALUE;
    }
    if (alias_count == 0 && aliases != nullptr) {
        ht_debug(5, kServices, __LINE__,
                 "Warning: Aliascount is zero and aliases is zero in dplServicesAddService; is this "
                 "intentional?.");
    }
    if (const char bad = invalid_character(name); bad != '\0') {
        ht_debug(5, kServices, __LINE__,
                 "Error: The name \"%s\" contains invalid character '%c' in dplServicesAddService\n", name,
                 bad);
        return DPL_E_INVALID_VALUE;
    }
    if (dplServicesTestName(pointer, name, protocol) != 0) {
        ht_debug(5, kServices, __LINE__,
                 "Error: Name %s is already used in dplServicesAddService (check before adding, please)\n",
                 name);
        return DPL_E_INVALID_VALUE;
    }
    if (alias_count < 0) alias_count = 0;
    if (alias_count > 0) {
        const int32_t rc = check_aliases(pointer, alias_count, aliases, protocol);
        if (rc != DPL_OK) return rc;
    }

    ServicesLine line;
    if (const int32_t rc = build_line(&line, name, port, protocol, alias_count, aliases, comment);
        rc != DPL_OK) {
        return rc;
    }
    ht_debug(5, kServices, __LINE__, "Adding a service: %s on %hu/%s\n", name, port, protocol);
    try {
        file->add_line(std::move(line));
    } catch (const std::bad_alloc &) {
        ht_debug(5, kServices, __LINE__, "Error: Couldn't allocate new line.");
        return DPL_E_NOMEM;
    }
    file->status = kChanged;
    return DPL_OK;
}

int32_t remove_service(InstallControlBlock *pointer, uint16_t port, const char *name, const char *protocol) {
    ServicesFile *file = loaded_services(pointer);
    if (file == nullptr) {
        ht_debug(5, kServices, __LINE__, "Error: The install structure is null in dplServicesRemoveService.");
        return DPL_E_BAD_CONTEXT;
    }
    if (port == 0 && !given(name)) {
        ht_debug(5, kServices, __LINE__,
                 "Error: The port and name parameters are both unspecified in dplServicesRemoveService.");
        return DPL_E_INVALID_VALUE;
    }
    const std::string wanted = given(name) ? name : "";
    // The index hands out every line that carries the name (or, without a
    // name, the port), most recently added first, as the list walk would.
    for (const dpl::services::LineRef line : file->candidates(wanted, port)) {
        if (given(protocol) && line->protocol != protocol) continue;
        if (port != 0 && line->port != port) continue;
        ht_debug(5, kServices, __LINE__, "Deleting a service: %s on %d/%s\n", line->text_or_name.c_str(),
                 static_cast<int>(line->port), line->protocol.c_str());
        file->remove_line(line);
        file->status = kChanged;
    }
    return DPL_OK;
}

int32_t add_comment(InstallControlBlock *pointer, const char *text) {
    ServicesFile *file = loaded_services(pointer);
    if (file == nullptr) {
        ht_debug(5, kServices, __LINE__, "Error: The install structure is null in dplServicesAddComment.");
        return DPL_E_BAD_CONTEXT;
    }
    if (!given(text)) {
        ht_debug(5, kServices, __LINE__, "Error: The text parameter is null in dplServicesAddComment.");
        return DPL_E_NULL_ARGUMENT;
    }
    const std::string_view all(text);
    std::size_t start = 0;
    for (;;) {
        const std::size_t separator = all.find_first_of("\r\n", start);
        const std::size_t end = separator == std::string_view::npos ? all.size() : separator;
        ServicesLine line;
        line.kind = dpl::services::kCommentLine;
        try {
            line.text_or_name.assign(all.substr(start, end - start));
            line.text_or_name.push_back('\n');
        } catch (const std::bad_alloc &) {
            ht_debug(5, kServices, __LINE__, "Error: Couldn't allocate new string.");
            return DPL_E_NOMEM;
        }
        ht_debug(5, kServices, __LINE__, "Added comment line: %s", line.text_or_name.c_str());
        try {
            file->add_line(std::move(line));
        } catch (const std::bad_alloc &) {
            ht_debug(5, kServices, __LINE__, "Error: Couldn't allocate new line.");
            return DPL_E_NOMEM;
        }
        if (separator == std::string_view::npos) break;
        start = separator + 1;
    }
    file->status = kChanged;
    return DPL_OK;
}

}  // namespace

extern "C" {

int32_t dplServicesAddService(InstallControlBlock *block, const char *name, uint16_t port,
                              const char *protocol, int32_t alias_count, const char *const *aliases,
                              const char *comment) {
    return traced_call(kServices, __LINE__, "dplServicesAddService", [&] {
        return add_service(block, name, port, protocol, alias_count, aliases, comment);
    });
}

int32_t dplServicesRemoveService(InstallControlBlock *block, uint16_t port, const char *name,
                                 const char *protocol) {
    return traced_call(kServices, __LINE__, "dplServicesRemoveService",
                       [&] { return remove_service(block, port, name, protocol); });
}

int32_t dplServicesAddComment(InstallControlBlock *block, const char *text) {
    return traced_call(kServices, __LINE__, "dplServicesAddComment",
                       [&] { return add_comment(block, text); });
}

}  // extern "C"

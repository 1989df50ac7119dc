// The ordered list of sqlhosts lines of an instance. Entries are handed to C
// callers as `Connection` records that stay valid while the instance lives;
// an index keeps "first entry of this alias" lookups constant-time.
#pragma once

#include <list>
#include <optional>
#include <string>
#include <string_view>

#include "core/alias_table.hpp"

#include "dpl/dpl.h"

namespace dpl::core {

class ConnectionList {
public:
    ConnectionList() = default;
    ConnectionList(const ConnectionList &) = delete;
    ConnectionList &operator=(const ConnectionList &) = delete;

    using Field = std::optional<std::string>;

    // Appends a blank line (text absent) or a comment line.
    Connection &append_comment(const char *text);
    // Appends a connection; absent fields stay null.
    Connection &append_connection(const char *alias, uint32_t protocol, uint16_t port, const char *service,
                                  const char *host, const char *options);
    // Replaces the fields of the first entry of `alias` in place (its place
    // in the list stays). Returns null when there is no such entry.
    Connection *update_first(std::string_view alias, uint32_t protocol, uint16_t port, Field service,
                             Field host, Field options);

    // The first kind-3 entry of `alias` (exact, case-sensitive), or null.
    Connection *find(std::string_view alias);
    Connection *head() { return nodes_.empty() ? nullptr : &nodes_.front().record; }
    bool empty() const { return nodes_.empty(); }
    std::size_t size() const { return nodes_.size(); }

private:
    struct Node {
        Connection record{};
        Field alias, service, host, options;
        void refresh();
    };
    Node &append_node();
    void drop_last_node();

    std::list<Node> nodes_;
    AliasTable<Node> first_by_alias_;
};

}  // namespace dpl::core

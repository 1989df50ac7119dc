#include "core/connection_list.hpp"

namespace dpl::core {
namespace {
char *text_of(std::optional<std::string> &text) {
    return text ? text->data() : nullptr;
}
}  // namespace

void ConnectionList::Node::refresh() {
    record.alias = text_of(alias);
    record.service = text_of(service);
    record.host = text_of(host);
    record.options = text_of(options);
}

ConnectionList::Node &ConnectionList::append_node() {
    Node *previous = nodes_.empty() ? nullptr : &nodes_.back();
    Node &node = nodes_.emplace_back();
    if (previous != nullptr) previous->record.next = &node.record;
    return node;
}

Connection &ConnectionList::append_comment(const char *text) {
    Node &node = append_node();
    node.record.kind = text != nullptr ? DPL_CONNECTION_COMMENT : DPL_CONNECTION_BLANK;
    if (text != nullptr) node.alias.emplace(text);
    node.refresh();
    return node.record;
}

Connection &ConnectionList::append_connection(const char *alias, uint32_t protocol, uint16_t port,
                                              const char *service, const char *host, const char *options) {
    auto field = [](const char *text) { return text != nullptr ? Field(text) : Field(); };
    Field alias_field = field(alias), service_field = field(service), host_field = field(host),
          options_field = field(options);
    Node &node = append_node();
    node.record.kind = DPL_CONNECTION_ENTRY;
    node.record.protocol = protocol;
    node.record.port = port;
    node.alias = std::move(alias_field);
    node.service = std::move(service_field);
    node.host = std::move(host_field);
    node.options = std::move(options_field);
    node.refresh();
    // An entry without an alias is never found. The key views the node's
    // own alias, which never changes.
    if (node.alias) {
        try {
            first_by_alias_.insert_if_absent(*node.alias, &node);
        } catch (...) {
            drop_last_node();
            throw;
        }
    }
    return node.record;
}

Connection *ConnectionList::update_first(std::string_view alias, uint32_t protocol, uint16_t port,
                                         Field service, Field host, Field options) {
    Node *found = first_by_alias_.find(alias);
    if (found == nullptr) return nullptr;
    Node &node = *found;
    node.service = std::move(service);
    node.host = std::move(host);
    node.options = std::move(options);
    node.record.protocol = protocol;
    node.record.port = port;
    node.refresh();
    return &node.record;
}

Connection *ConnectionList::find(std::string_view alias) {
    Node *found = first_by_alias_.find(alias);
    return found != nullptr ? &found->record : nullptr;
}

void ConnectionList::drop_last_node() {
    nodes_.pop_back();
    if (!nodes_.empty()) nodes_.back().record.next = nullptr;
}

}  // namespace dpl::core

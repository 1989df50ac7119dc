#include "core/connection_list.hpp"

#include <tuple>

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
    // Reserve the index slot first so that a failed insertion leaves the
    // list as it was. An entry without an alias is never found.
    std::unordered_map<std::string, Node *>::iterator slot;
    bool inserted = false;
    if (alias_field) std::tie(slot, inserted) = first_by_alias_.try_emplace(*alias_field, nullptr);
    try {
        Node &node = append_node();
        node.record.kind = DPL_CONNECTION_ENTRY;
        node.record.protocol = protocol;
        node.record.port = port;
        node.alias = std::move(alias_field);
        node.service = std::move(service_field);
        node.host = std::move(host_field);
        node.options = std::move(options_field);
        node.refresh();
        if (inserted) slot->second = &node;
        return node.record;
    } catch (...) {
        if (inserted) first_by_alias_.erase(slot);
        throw;
    }
}

Connection *ConnectionList::update_first(std::string_view alias, uint32_t protocol, uint16_t port,
                                         Field service, Field host, Field options) {
    const auto found = first_by_alias_.find(std::string(alias));
    if (found == first_by_alias_.end() || found->second == nullptr) return nullptr;
    Node &node = *found->second;
    node.service = std::move(service);
    node.host = std::move(host);
    node.options = std::move(options);
    node.record.protocol = protocol;
    node.record.port = port;
    node.refresh();
    return &node.record;
}

Connection *ConnectionList::find(std::string_view alias) {
    const auto found = first_by_alias_.find(std::string(alias));
    if (found == first_by_alias_.end() || found->second == nullptr) return nullptr;
    return &found->second->record;
}

}  // namespace dpl::core

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

Connection &ConnectionList::append_connection(std::string_view alias, uint32_t protocol, uint16_t port,
                                              std::string_view service, std::string_view host,
                                              std::string_view options) {
    // Reserve the index slot first so that a failed insertion leaves the
    // list as it was.
    auto [slot, inserted] = first_by_alias_.try_emplace(std::string(alias), nullptr);
    try {
        Node &node = append_node();
        node.record.kind = DPL_CONNECTION_ENTRY;
        node.alias.emplace(alias);
        node.record.protocol = protocol;
        node.record.port = port;
        node.service.emplace(service);
        node.host.emplace(host);
        node.options.emplace(options);
        node.refresh();
        if (inserted) slot->second = &node;
        return node.record;
    } catch (...) {
        if (inserted) first_by_alias_.erase(slot);
        throw;
    }
}

Connection *ConnectionList::update_first(std::string_view alias, uint32_t protocol, uint16_t port,
                                         std::string_view service, std::string_view host,
                                         std::string_view options) {
    const auto found = first_by_alias_.find(std::string(alias));
    if (found == first_by_alias_.end() || found->second == nullptr) return nullptr;
    Node &node = *found->second;
    // Copies are made before anything changes, so a failure leaves the entry whole.
    std::string new_service(service), new_host(host), new_options(options);
    node.service = std::move(new_service);
    node.host = std::move(new_host);
    node.options = std::move(new_options);
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

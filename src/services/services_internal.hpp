// What the services operations share among themselves.
#pragma once

#include <cstdint>
#include <string>

#include "core/control_block.hpp"
#include "services/services_file.hpp"

namespace dpl::services {

// The model of the block behind `pointer` when that is a block and its
// services file is loaded; null otherwise.
ServicesFile *loaded_services(InstallControlBlock *pointer);

// Whether a TCP socket can be bound to `port` on the wildcard address right
// now. A socket library that does not work counts as "not clear".
bool port_is_clear(uint16_t port);

// Appends `line` as the file holds it, in the model's columns, line end
// included.
void render_line(const ServicesFile &file, const ServicesLine &line, std::string &out);

// Seeds the candidate-port generator from the clock.
void seed_random(ServicesFile &file);
// A pseudo-random port from 1026 to 33793.
uint16_t random_port(ServicesFile &file);

}  // namespace dpl::services

// Seed material for the process's random generators, gathered from the system. The generators need to differ
// between machines, processes and moments; nothing that must stay secret depends on them.
#pragma once

#include "cl/sys/md5.hpp"

#include <random>
#include <string>

namespace cl {

// The stable part, which is made once for the process and kept unless `refresh` asks for a new one, and the
// varying part, new on every call. Every source is optional; there is no failure. Reads os_info and cpu_info,
// binds through `libraries` and steps both small generators. One thread at a time.
std::string entropy_text(bool refresh);

// The digest of the text.
md5_digest seed_digest(bool refresh);

// The first eight bytes of a new digest, lowest first.
std::uint64_t new_seed();

// Seeded and warmed up at the start; nothing draws from it.
extern std::mt19937 twister;

} // namespace cl

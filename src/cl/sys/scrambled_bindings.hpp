// Two functions of the system that are bound at start-up under scrambled names and held to the end. Nothing
// calls them: deliberate.
#pragma once

#include "cl/sys/dynamic_entry.hpp"

namespace cl {

struct scrambled_bindings {
    dynamic_entry first{L".#/%|%F>|%", ".jr-_X&vg$2)%*"};
    dynamic_entry second{L".#/%|%F>|%", ".sr-_X&nnvg$2)%*ho/{s$2"};
};

} // namespace cl

#include "cl/time/time_source.hpp"

namespace cl {

namespace {

constexpr struct {
    std::string_view name;
    std::int32_t value;
} rows[] = {
    {"tsc", source_tsc},         {"perfcnt", source_perfcnt},
    {"ticks", source_ticks},     {"interrupt", source_interrupt},
    {"tsc_raw", source_tsc_raw}, {"mmtime", source_mmtime},
};

} // namespace

std::int32_t time_source_table::value(std::string_view name) const {
    for (const auto& row : rows)
        if (row.name == name)
            return row.value;
    return 0;
}

std::string_view time_source_table::name(std::int32_t value) const {
    for (const auto& row : rows)
        if (row.value == value)
            return row.name;
    return "unknown";
}

bool time_source_table::has(std::int32_t value) const {
    for (const auto& row : rows)
        if (row.value == value)
            return true;
    return false;
}

} // namespace cl

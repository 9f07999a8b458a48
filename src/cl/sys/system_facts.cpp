#include "cl/sys/system_facts.hpp"

namespace cl {

void fact_store::write(const std::string& key, const std::wstring& text) {
    const mutex_auto guard(lock_, true);
    facts_[key] = text;
}

std::wstring fact_store::read(const std::string& key) {
    const mutex_auto guard(lock_, true);
    const auto found = facts_.find(key);
    return found == facts_.end() ? std::wstring() : found->second;
}

} // namespace cl

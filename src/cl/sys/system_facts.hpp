// Texts about the system that parts of the program have found out, kept for diagnostics.
#pragma once

#include "cl/os/mutex.hpp"

#include <map>
#include <string>

namespace cl {

// Any thread may call.
class fact_store {
public:
    // Adds the fact, or replaces its text.
    void write(const std::string& key, const std::wstring& text);
    // Empty when there is no such fact.
    [[nodiscard]] std::wstring read(const std::string& key);

private:
    mutex lock_;
    std::map<std::string, std::wstring> facts_;
};

// The process's store. The clock writes its report there, under "hrtime".
extern fact_store system_facts;

} // namespace cl

#include "fakes/fake_debugger.hpp"

#include "cl/os/debugger.hpp"

namespace fakes {

std::vector<std::string>& debugger::narrow() {
    static std::vector<std::string> texts;
    return texts;
}

std::vector<std::wstring>& debugger::wide() {
    static std::vector<std::wstring> texts;
    return texts;
}

} // namespace fakes

namespace cl::os {

void debug_text(const char* text) {
    fakes::debugger::narrow().emplace_back(text);
}
void debug_text(const wchar_t* text) {
    fakes::debugger::wide().emplace_back(text);
}

} // namespace cl::os

// Counts its own loads and unloads in two variables of the process's environment, which outlive it.
#include <cwchar>
#include <windows.h>

namespace {

void count(const wchar_t* variable) {
    wchar_t text[16] = L"0";
    GetEnvironmentVariableW(variable, text, 16);
    std::swprintf(text, 16, L"%ld", std::wcstol(text, nullptr, 10) + 1);
    SetEnvironmentVariableW(variable, text);
}

} // namespace

extern "C" __declspec(dllexport) int probe_answer() {
    return 42;
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH)
        count(L"PROBE_LOADS");
    else if (reason == DLL_PROCESS_DETACH)
        count(L"PROBE_UNLOADS");
    return TRUE;
}

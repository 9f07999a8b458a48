#include "host/user_end.hpp"

#include <atomic>
#include <windows.h>

namespace vfl {

namespace {

// Manual-reset events that are never closed: the system's threads may still wait for them at the process's
// end.
constinit std::atomic<HANDLE> end_asked{nullptr}, end_done{nullptr};

// On a thread of the system's. For most events the system ends the process when this returns.
void end_and_wait() {
    SetEvent(end_asked);
    WaitForSingleObject(end_done, INFINITE);
}

BOOL WINAPI on_console_event(DWORD) {
    end_and_wait();
    return TRUE;
}

LRESULT CALLBACK on_message(HWND window, UINT message, WPARAM w, LPARAM l) {
    if (message != WM_ENDSESSION || !w)
        return DefWindowProcW(window, message, w, l);
    end_and_wait();
    return 0;
}

// A program that has loaded user32 hears of log-off and shutdown by its windows, and not by its console
// handler.
DWORD WINAPI watch_session(void*) {
    WNDCLASSW type{};
    type.lpfnWndProc = on_message;
    type.hInstance = GetModuleHandleW(nullptr);
    type.lpszClassName = L"vfl session";
    RegisterClassW(&type);
    // Never shown, and no message-only window, which would not be asked.
    if (!CreateWindowExW(0, type.lpszClassName, L"vfl", WS_OVERLAPPED, 0, 0, 0, 0, nullptr, nullptr,
                         type.hInstance, nullptr))
        return 0;
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
        DispatchMessageW(&message);
    return 0;
}

bool is_key(const KEY_EVENT_RECORD& key) {
    switch (key.wVirtualKeyCode) {
    case VK_SHIFT:
    case VK_CONTROL:
    case VK_CAPITAL:
    case VK_NUMLOCK:
    case VK_SCROLL:
    case VK_LWIN:
    case VK_RWIN:
        return false;
    case VK_MENU: // released, it ends a character that was typed by its number
        return !key.bKeyDown && key.uChar.UnicodeChar != 0;
    default:
        return key.bKeyDown != FALSE;
    }
}

// Until a key or the end. False when the console has gone.
bool wait_at_console(HANDLE input) {
    const HANDLE either[] = {end_asked, input};
    for (;;) {
        const DWORD signalled = WaitForMultipleObjects(2, either, FALSE, INFINITE);
        if (signalled == WAIT_OBJECT_0)
            return true;
        INPUT_RECORD record;
        DWORD count = 0;
        if (signalled != WAIT_OBJECT_0 + 1 || !ReadConsoleInputW(input, &record, 1, &count) || count == 0)
            return false;
        if (record.EventType == KEY_EVENT && is_key(record.Event.KeyEvent))
            return true;
    }
}

// A pipe or a file can't be waited for, so that a thread of its own reads it.
DWORD WINAPI wait_at_stream(void* input) {
    char byte = 0;
    DWORD count = 0;
    const DWORD error = ReadFile(input, &byte, 1, &count, nullptr) ? NO_ERROR : GetLastError();
    const bool end_of_pipe =
        GetFileType(input) == FILE_TYPE_PIPE && (error == NO_ERROR || error == ERROR_BROKEN_PIPE);
    if (count > 0 || end_of_pipe)
        SetEvent(end_asked);
    return 0;
}

void run_detached(LPTHREAD_START_ROUTINE body, void* argument) {
    if (const HANDLE thread = CreateThread(nullptr, 0, body, argument, 0, nullptr))
        CloseHandle(thread);
}

} // namespace

user_end::user_end() {
    end_asked = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    end_done = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(on_console_event, TRUE);
    run_detached(watch_session, nullptr);
}

user_end::~user_end() {
    SetEvent(end_done);
}

void user_end::wait() {
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    DWORD mode = 0;
    if (!GetConsoleMode(input, &mode))
        run_detached(wait_at_stream, input);
    else if (wait_at_console(input))
        return;
    WaitForSingleObject(end_asked, INFINITE);
}

} // namespace vfl

// The WLAN client API as a script: which calls fail and how, what was called with which arguments, and what
// is still open. It stands behind the library binder, so that the session binds it as it would the real one.
#pragma once

#include "cl/wifi/wlan_api.h"
#include "fakes/scripted_libraries.hpp"

#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace fakes {

struct scripted_wlan {
    bool present = true;
    std::string missing;                         // an entry point that the library lacks
    std::map<std::string, std::uint32_t> errors; // by the call as in `calls`, without its client
    std::map<std::string, std::uint32_t> reasons;
    std::set<std::string> without_block; // queries that succeed with nothing
    std::uint32_t state = VFL_WLAN_IDLE, enabled = 1;
    vfl_wlan_settings settings{8, {'o', 'l', 'd', ' ', 'n', 'a', 'm', 'e'}, 7};
    std::uint32_t settings_size = sizeof settings;

    std::vector<std::string> bound; // names asked for, in order
    std::vector<std::string> calls; // "Name arguments", without the API's prefixes
    std::set<vfl_wlan_client> open;
    std::map<void*, std::unique_ptr<unsigned char[]>> blocks;
    vfl_wlan_client last_client = 0;
    int loads = 0; // less the unloads

    std::uint32_t take(const std::string& call, std::uint32_t* reason = nullptr) {
        calls.push_back(call);
        if (reason && reasons.contains(call))
            *reason = reasons[call];
        return errors.contains(call) ? errors[call] : 0;
    }
    void* block(const void* data, std::size_t size) {
        auto bytes = std::make_unique<unsigned char[]>(size);
        std::memcpy(bytes.get(), data, size);
        void* const p = bytes.get();
        blocks[p] = std::move(bytes);
        return p;
    }
    std::string all_calls() const {
        std::string text;
        for (const std::string& call : calls)
            text += call + "\n";
        return text;
    }
};

inline constinit scripted_wlan* wlan = nullptr;

// A call with a client: one that isn't open is a fault of the session.
inline std::uint32_t with_client(vfl_wlan_client client, const std::string& call,
                                 std::uint32_t* reason = nullptr) {
    return wlan->take(wlan->open.contains(client) ? call : call + " with a client that isn't open", reason);
}

inline const std::map<std::string, cl::entry_point>& wlan_exports() {
    const auto as_entry = [](auto* function) { return reinterpret_cast<cl::entry_point>(function); };
    const auto unused = [] { wlan->calls.push_back("a function that is bound and not called"); };
    static const std::map<std::string, cl::entry_point> exports{
        {"WlanOpenHandle", as_entry(+[](std::uint32_t version, void*, std::uint32_t* negotiated,
                                        vfl_wlan_client* client) -> std::uint32_t {
             const std::uint32_t error = wlan->take("OpenHandle " + std::to_string(version));
             if (error)
                 return error;
             *negotiated = version;
             wlan->open.insert(*client = ++wlan->last_client);
             return 0;
         })},
        {"WlanCloseHandle", as_entry(+[](vfl_wlan_client client, void*) -> std::uint32_t {
             const std::uint32_t error = with_client(client, "CloseHandle");
             wlan->open.erase(client);
             return error;
         })},
        {"WlanHostedNetworkInitSettings",
         as_entry(+[](vfl_wlan_client client, std::uint32_t* reason, void*) -> std::uint32_t {
             return with_client(client, "InitSettings", reason);
         })},
        {"WlanHostedNetworkQueryStatus",
         as_entry(+[](vfl_wlan_client client, void** status, void*) -> std::uint32_t {
             const std::uint32_t error = with_client(client, "QueryStatus");
             if (!error && !wlan->without_block.contains("QueryStatus"))
                 *status = wlan->block(&wlan->state, sizeof wlan->state);
             return error;
         })},
        {"WlanFreeMemory", as_entry(+[](void* memory) {
             if (!wlan->blocks.erase(memory))
                 wlan->calls.push_back("FreeMemory of no block");
         })},
        {"WlanHostedNetworkQueryProperty",
         as_entry(+[](vfl_wlan_client client, std::uint32_t property, std::uint32_t* size, void** data,
                      std::uint32_t*, void*) -> std::uint32_t {
             const std::string call = "QueryProperty " + std::to_string(property);
             const std::uint32_t error = with_client(client, call);
             if (!error && !wlan->without_block.contains(call)) {
                 const bool flag = property == VFL_WLAN_ENABLED;
                 *size = flag ? 4 : wlan->settings_size;
                 *data = flag ? wlan->block(&wlan->enabled, 4) : wlan->block(&wlan->settings, *size);
             }
             return error;
         })},
        {"WlanHostedNetworkSetProperty",
         as_entry(+[](vfl_wlan_client client, std::uint32_t property, std::uint32_t size, const void* data,
                      std::uint32_t* reason, void*) -> std::uint32_t {
             const std::uint32_t error =
                 with_client(client, "SetProperty " + std::to_string(property), reason);
             std::ostringstream shown;
             if (property == VFL_WLAN_CONNECTION_SETTINGS && size == sizeof(vfl_wlan_settings)) {
                 vfl_wlan_settings s;
                 std::memcpy(&s, data, size);
                 std::string ssid(reinterpret_cast<const char*>(s.ssid), sizeof s.ssid);
                 ssid.erase(ssid.find_last_not_of('\0') + 1); // what is behind the text has to be zeros
                 shown << " = " << s.ssid_length << " " << ssid << " " << s.max_peers;
             } else if (size == 4) {
                 shown << " = " << *static_cast<const std::uint32_t*>(data);
             }
             wlan->calls.back() += shown.str();
             return error;
         })},
        {"WlanHostedNetworkForceStart",
         as_entry(+[](vfl_wlan_client client, std::uint32_t* reason, void*) -> std::uint32_t {
             return with_client(client, "ForceStart", reason);
         })},
        {"WlanHostedNetworkForceStop",
         as_entry(+[](vfl_wlan_client client, std::uint32_t* reason, void*) -> std::uint32_t {
             return with_client(client, "ForceStop", reason);
         })},
        {"WlanHostedNetworkSetSecondaryKey",
         as_entry(+[](vfl_wlan_client client, std::uint32_t length, const std::uint8_t* key,
                      std::int32_t is_passphrase, std::int32_t persistent, std::uint32_t* reason,
                      void*) -> std::uint32_t {
             const std::uint32_t error = with_client(client, "SetSecondaryKey", reason);
             std::ostringstream shown;
             // Shown with its terminator, as a point.
             shown << " " << length << " " << std::string(reinterpret_cast<const char*>(key), length - 1)
                   << (key[length - 1] ? "?" : ".") << " " << is_passphrase << persistent;
             wlan->calls.back() += shown.str();
             return error;
         })},
        {"WlanHostedNetworkStartUsing", +unused},
        {"WlanRegisterNotification", +unused},
        {"WlanEnumInterfaces", +unused},
    };
    return exports;
}

// The process's library table knows this one library, in the system folder.
inline constinit const cl::module_calls scripted_modules{
    [](const wchar_t* path) -> cl::module_handle {
        if (!wlan->present || std::wstring(path) != L"S:\\wlanapi.dll")
            return nullptr;
        ++wlan->loads;
        return wlan;
    },
    [](cl::module_handle) { --wlan->loads; },
    [](cl::module_handle, const char* function) -> cl::entry_point {
        wlan->bound.emplace_back(function);
        const auto found = wlan_exports().find(function);
        return found == wlan_exports().end() || function == wlan->missing ? nullptr : found->second;
    },
    [] { return std::wstring(L"S:\\"); },
    [] { return std::wstring(L"W:\\"); },
};

// A fresh API behind a fresh table, for its own lifetime.
struct wlan_machine : scripted_wlan {
    wlan_machine() { wlan = this; }
    ~wlan_machine() { wlan = nullptr; }
    wlan_machine(const wlan_machine&) = delete;
    wlan_machine& operator=(const wlan_machine&) = delete;

    const scripted_libraries libraries{scripted_modules};
};

} // namespace fakes

#include "host/fake_host.hpp"

#include "cl/format/format.hpp"
#include "cl/text/text_convert.hpp"
#include "cl/wifi/virtual_wifi_supervisor.hpp"
#include "contracts/service_library.h"
#include "host/mode_calls.hpp"
#include "host/user_end.hpp"
#include "product/folder_protection.hpp"
#include "product/locations.hpp"
#include "product/rights.hpp"

#include <mutex>

namespace {

using fakes::host;

// Of `calls`, `report_errors` and `loaded`.
std::mutex lock;

void note(std::string call, int loads = 0) {
    const std::scoped_lock scope(lock);
    host::instance().calls.push_back(std::move(call));
    host::instance().loaded += loads;
}

std::uint32_t result_of(const char* name, std::uint32_t otherwise) {
    const auto& results = host::instance().results;
    const auto at = results.find(name);
    return at == results.end() ? otherwise : at->second;
}

std::string hex(std::uint64_t token) {
    return (cl::basic_format<char>(" %x") << token).str();
}
std::string quoted(const wchar_t* text) {
    return " \"" + cl::utf16_to_utf8(text) + "\"";
}

std::uint32_t start_service_ex(std::uint64_t token) {
    note(VFL_START_SERVICE + hex(token));
    if (const auto& in_start = host::instance().in_start)
        in_start();
    return result_of(VFL_START_SERVICE, 1);
}

std::uint32_t stop_service_ex(std::uint64_t token) {
    note(VFL_STOP_SERVICE + hex(token));
    return 0;
}

void set_game_analyzer() {
    note(VFL_SET_GAME_ANALYZER);
}
void dump_connections() {
    note(VFL_DUMP_CONNECTIONS);
}

std::uint32_t calibrate(const char* name, std::int32_t count, const wchar_t* const* args) {
    std::string call = name + std::string(args ? "" : " null");
    for (std::int32_t i = 0; i < count; ++i)
        call += quoted(args[i]);
    note(call);
    return result_of(name, 0);
}

std::uint32_t calibrate_burst(std::int32_t count, const wchar_t* const* args) {
    return calibrate(VFL_CALIBRATE_BURST, count, args);
}

std::uint32_t calibrate_file(std::int32_t count, const wchar_t* const* args) {
    return calibrate(VFL_CALIBRATE_FILE, count, args);
}

std::uint32_t install_driver_ex(const wchar_t* dir, const wchar_t* log, std::uint64_t token) {
    note(VFL_INSTALL_DRIVER + quoted(dir) + quoted(log) + hex(token));
    return result_of(VFL_INSTALL_DRIVER, 0);
}

std::uint32_t uninstall_driver_ex(const wchar_t* log, std::uint64_t token) {
    note(VFL_UNINSTALL_DRIVER + quoted(log) + hex(token));
    return result_of(VFL_UNINSTALL_DRIVER, 0);
}

int library_stands_here;

cl::module_handle load(const wchar_t* path) {
    if (!host::instance().has_library)
        return nullptr;
    note("load" + quoted(path), 1);
    return &library_stands_here;
}

void unload(cl::module_handle) {
    note("unload", -1);
}

cl::entry_point find(cl::module_handle, const char* function) {
    static const std::map<std::string, cl::entry_point> exports = {
        {VFL_START_SERVICE, reinterpret_cast<cl::entry_point>(start_service_ex)},
        {VFL_STOP_SERVICE, reinterpret_cast<cl::entry_point>(stop_service_ex)},
        {VFL_SET_GAME_ANALYZER, reinterpret_cast<cl::entry_point>(set_game_analyzer)},
        {VFL_DUMP_CONNECTIONS, reinterpret_cast<cl::entry_point>(dump_connections)},
        {VFL_CALIBRATE_BURST, reinterpret_cast<cl::entry_point>(calibrate_burst)},
        {VFL_CALIBRATE_FILE, reinterpret_cast<cl::entry_point>(calibrate_file)},
        {VFL_INSTALL_DRIVER, reinterpret_cast<cl::entry_point>(install_driver_ex)},
        {VFL_UNINSTALL_DRIVER, reinterpret_cast<cl::entry_point>(uninstall_driver_ex)},
    };
    const auto at = exports.find(function);
    return at == exports.end() || host::instance().missing.contains(function) ? nullptr : at->second;
}

} // namespace

namespace fakes {

host& host::instance() {
    static host h;
    return h;
}

const cl::module_calls host::modules = {
    load,
    unload,
    find,
    [] { return std::wstring(L"S:\\"); },
    [] { return std::wstring(L"W:\\"); },
    [] { return instance().has_library ? instance().find_error : instance().load_error; },
};

std::string host::log() const {
    std::string all;
    for (const std::string& call : calls)
        all += (all.empty() ? "" : ", ") + call;
    return all;
}

} // namespace fakes

namespace cl {

void start_virtual_wifi_supervisor() {
    note("Wi-Fi");
    if (const auto& in_resume = fakes::host::instance().in_resume)
        in_resume();
}

} // namespace cl

namespace vfl {

using fakes::host;

namespace {

service_handler_function handler;

} // namespace

failure run_dispatcher(service_main_function body) {
    note("dispatcher");
    if (host::instance().dispatcher_error)
        return host::instance().dispatcher_error;
    body();
    if (host::instance().controls)
        host::instance().controls(handler);
    return {};
}

failure register_handler(service_handler_function f) {
    note("register");
    handler = f;
    return host::instance().register_error;
}

failure report_service_state(std::uint32_t state) {
    note((cl::basic_format<char>("state %?") << state).str());
    const std::scoped_lock scope(lock);
    auto& errors = host::instance().report_errors;
    if (errors.empty())
        return {};
    const std::uint32_t error = errors.front();
    errors.erase(errors.begin());
    return error;
}

failure query_user_token(std::uint32_t session_id) {
    note((cl::basic_format<char>("token %?") << session_id).str());
    return host::instance().token_error;
}

bool read_install_dir(const std::wstring& product, std::wstring& out) {
    note("install dir of" + quoted(product.c_str()));
    if (host::instance().has_install_dir)
        out = L"C:\\vexa\\";
    return host::instance().has_install_dir;
}

std::wstring common_data_dir(const std::wstring& product) {
    note("data dir of" + quoted(product.c_str()));
    return L"D:\\data\\";
}

folder_protection protect_foreign_folder(const std::wstring&) {
    return host::instance().folder;
}

bool is_admin() {
    return host::instance().admin;
}

user_end::user_end() {
    note("end held back");
}
user_end::~user_end() {
    note("end done");
}
void user_end::wait() {
    note("end");
}
void initialize_com() {
    note("COM on");
}
void uninitialize_com() {
    note("COM off");
}

} // namespace vfl

#include "cl/log/log_files.hpp"

#include "cl/os/file.hpp"

namespace cl {

namespace {

// As many readers may each hold an old generation of their own.
constexpr int aside_names = 4;

} // namespace

void log_files::set_old_path(const std::wstring& new_old_path) {
    old_path = new_old_path;
    aside.clear();
    for (int i = 1; i <= aside_names && can_rotate(); ++i)
        aside.push_back(old_path + L"." + std::to_wstring(i));
}

bool log_files::open(file_hnd& file) const {
    const std::uint32_t flags = open_write | open_create;
    return file.open(path, write_through ? flags | open_write_through : flags, share_deny_write);
}

// Renames the old generation, so that its name is free even while a reader holds it. Null if there is none or
// it can't be renamed.
const wchar_t* log_files::put_aside() const {
    for (const std::wstring& name : aside) {
        os::remove_file(name.c_str()); // left by a process that ended in the middle of a rotation
        const std::uint32_t error = os::rename_file(old_path.c_str(), name.c_str());
        if (error == 0)
            return name.c_str();
        if (error == os::error_not_found || error == os::error_sharing)
            return nullptr; // no other name would help
    }
    return nullptr;
}

void log_files::rotate(file_hnd& file) const {
    file.close();
    const wchar_t* const old = put_aside();
    if (!old)
        os::remove_file(old_path.c_str());
    if (os::rename_file(path.c_str(), old_path.c_str()) == 0) {
        if (old)
            os::remove_file(old);
        return;
    }
    if (old)
        os::rename_file(old, old_path.c_str());
    os::remove_file(path.c_str());
}

} // namespace cl

#include "product/directory_chain.hpp"

#include <algorithm>

namespace vfl {

namespace {

// "C:\", "C:", "\\", "\" or nothing.
std::size_t root_length(const std::wstring& path) {
    std::size_t root = 0;
    if (path.starts_with(L"\\\\") || (path.size() >= 2 && path[1] == L':'))
        root = 2;
    if (path.size() > root + 1 && path[root] == L'\\')
        ++root;
    return root;
}

// The end of the component at `start`: its backslash, or the end of the path. The component has at least one
// character, so that a doubled backslash belongs to the component after it.
std::size_t component_end(const std::wstring& path, std::size_t start) {
    return std::min(path.find(L'\\', start + 1), path.size());
}

} // namespace

bool create_directory_chain(const std::wstring& path, folder_system& disk) {
    // Everything before `done` exists; `done` is just after a backslash or at the end of the path.
    std::size_t done = root_length(path);
    while (done < path.size()) {
        const std::size_t end = component_end(path, done);
        if (!disk.is_folder(path.substr(0, end)))
            break;
        done = std::min(end + 1, path.size());
    }
    while (done < path.size()) {
        const std::size_t end = component_end(path, done);
        if (!disk.create_folder(path.substr(0, end)))
            return false;
        done = std::min(end + 1, path.size());
    }
    return true;
}

} // namespace vfl

// A fresh folder below the system's temporary folder, removed with all that is in it at the end.
#pragma once

#include <filesystem>
#include <random>
#include <string>

struct temp_folder {
    std::filesystem::path folder;

    temp_folder() {
        std::random_device random;
        do
            folder = std::filesystem::temp_directory_path() / ("vfl_test_" + std::to_string(random()));
        while (!std::filesystem::create_directory(folder));
    }
    ~temp_folder() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    temp_folder(const temp_folder&) = delete;
    temp_folder& operator=(const temp_folder&) = delete;

    // The path of a file in it, as the file classes take it.
    std::wstring operator/(const std::wstring& name) const { return folder.wstring() + L"\\" + name; }
};

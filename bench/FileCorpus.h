/// @file
/// Files to measure with: seeded texts and trees in a folder of their own, which goes when the program ends.
#ifndef TARNU_BENCH_FILECORPUS_H
#define TARNU_BENCH_FILECORPUS_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>
#include <windows.h>

namespace tarnu::bench {

/// Ends the program: a benchmark whose files could not be made measures nothing.
[[noreturn]] inline void Give(const char* what) {
    std::fprintf(stderr, "%s failed, error %lu\n", what, ::GetLastError());
    std::exit(2);
}

inline void WriteWhole(const std::wstring& path, const void* data, std::size_t size) {
    const HANDLE file =
        ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    if (file == INVALID_HANDLE_VALUE || !::WriteFile(file, data, static_cast<DWORD>(size), &written, nullptr)) {
        Give("writing a file");
    }
    ::CloseHandle(file);
}

/// A directory tree as lists: the directories outermost first, and the files with their contents.
struct Tree {
    struct File {
        std::wstring path; ///< relative
        std::string contents;
    };
    std::vector<std::wstring> directories; ///< relative
    std::vector<File> files;

    std::size_t Bytes() const {
        std::size_t bytes = 0;
        for (const File& file : files)
            bytes += file.contents.size();
        return bytes;
    }
};

inline void CreateDirectories(const Tree& tree, const std::wstring& root) {
    if (!::CreateDirectoryW(root.c_str(), nullptr)) Give("creating a folder");
    for (const std::wstring& directory : tree.directories)
        if (!::CreateDirectoryW((root + L'\\' + directory).c_str(), nullptr)) Give("creating a folder");
}

/// Writes every @p step th file, from the one at @p first on.
inline void WriteFiles(const Tree& tree, const std::wstring& root, std::size_t first = 0, std::size_t step = 1) {
    for (std::size_t index = first; index < tree.files.size(); index += step) {
        const Tree::File& file = tree.files[index];
        WriteWhole(root + L'\\' + file.path, file.contents.data(), file.contents.size());
    }
}

/// Makes the tree to work on: on several threads, because what waits for the system costs most of the time.
inline void Create(const Tree& tree, const std::wstring& root) {
    constexpr std::size_t threadCount = 4;
    CreateDirectories(tree, root);
    std::vector<std::jthread> threads;
    for (std::size_t first = 0; first < threadCount; ++first)
        threads.emplace_back([&tree, &root, first] { WriteFiles(tree, root, first, threadCount); });
}

/// Removes a folder and all that is in it; a missing one is fine.
inline void Remove(const std::wstring& root) {
    WIN32_FIND_DATAW data;
    std::vector<std::pair<std::wstring, bool>> entries;
    const HANDLE find = ::FindFirstFileW((root + L"\\*").c_str(), &data);
    for (BOOL found = find != INVALID_HANDLE_VALUE; found; found = ::FindNextFileW(find, &data)) {
        const std::wstring name = data.cFileName;
        if (name != L"." && name != L"..")
            entries.emplace_back(root + L'\\' + name, (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0);
    }
    if (find != INVALID_HANDLE_VALUE) ::FindClose(find);
    for (const auto& [path, isDirectory] : entries)
        isDirectory ? Remove(path) : static_cast<void>(::DeleteFileW(path.c_str()));
    ::RemoveDirectoryW(root.c_str());
}

/// A folder of its own below the one that TARNU_BENCH_FOLDER names, or the system's temporary one.
class Workplace {
public:
    Workplace() {
        wchar_t parent[MAX_PATH + 1] = {};
        const DWORD length = ::GetEnvironmentVariableW(L"TARNU_BENCH_FOLDER", parent, MAX_PATH);
        if (length == 0 || length > MAX_PATH) ::GetTempPathW(MAX_PATH, parent);
        m_path = parent + (L"\\tarnu-bench-" + std::to_wstring(::GetCurrentProcessId()));
        Remove(m_path);
        if (!::CreateDirectoryW(m_path.c_str(), nullptr)) Give("creating a folder");
    }
    ~Workplace() { Remove(m_path); }
    Workplace(const Workplace&) = delete;
    Workplace& operator=(const Workplace&) = delete;

    std::wstring operator/(const std::wstring& name) const { return m_path + L'\\' + name; }

private:
    std::wstring m_path;
};

/// Folders of one name with a number behind, from 1 on.
class Numbered {
public:
    explicit Numbered(std::wstring name) : m_name(std::move(name)) {}

    std::wstring Next() { return m_name + std::to_wstring(++m_number); }

private:
    std::wstring m_name;
    int m_number = 0;
};

/// Contents as they occur in projects, from a seed.
class Contents {
public:
    explicit Contents(unsigned seed) : m_random(seed) {
        for (int word = 0; word < 4000; ++word) {
            std::string letters;
            for (std::size_t length = 2 + Below(9); length > 0; --length)
                letters += static_cast<char>('a' + Below(26));
            m_words.push_back(letters);
        }
    }

    std::size_t Below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_random); }

    /// Words, some far more frequent than others.
    std::string Text(std::size_t size) {
        std::string text;
        while (text.size() < size) {
            text += m_words[Below(1 + Below(m_words.size()))];
            text += Below(12) == 0 ? ".\r\n" : " ";
        }
        text.resize(size);
        return text;
    }
    /// Lines of coordinates.
    std::string Points(std::size_t size) {
        std::string text;
        char line[100];
        for (int number = 1; text.size() < size; ++number) {
            std::snprintf(line, sizeof line, "<CgPoint name=\"%d\">%.3f %.3f %.3f</CgPoint>\n", number,
                          350000 + static_cast<double>(Below(9000000)) / 1000,
                          5600000 + static_cast<double>(Below(9000000)) / 1000,
                          static_cast<double>(Below(900000)) / 1000);
            text += line;
        }
        text.resize(size);
        return text;
    }
    /// Records of doubles that vary slowly.
    std::string Records(std::size_t size) {
        std::string bytes;
        double value = 1000;
        while (bytes.size() < size) {
            value += (static_cast<double>(Below(2001)) - 1000) / 128;
            bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
        }
        bytes.resize(size);
        return bytes;
    }
    /// Nothing that could be compressed.
    std::string Noise(std::size_t size) {
        std::string bytes(size, '\0');
        for (char& byte : bytes)
            byte = static_cast<char>(m_random());
        return bytes;
    }

private:
    std::mt19937 m_random;
    std::vector<std::string> m_words;
};

} // namespace tarnu::bench

#endif // TARNU_BENCH_FILECORPUS_H

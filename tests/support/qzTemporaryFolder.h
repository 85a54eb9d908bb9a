#pragma once
// A folder for a test's files, deleted with its contents by the destructor.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>

namespace qzTest {

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "qzTest-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
    mPath = pattern;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  std::string path(const std::string& name) const { return (mPath / name).string(); }

  /// Writes a file and returns its path.
  std::string write(const std::string& name, const std::string& bytes) const {
    std::ofstream file(path(name), std::ios::binary);
    file << bytes;
    file.close();
    if (!file) throw std::runtime_error("cannot write " + path(name));
    return path(name);
  }

  std::string read(const std::string& name) const {
    std::ifstream file(path(name), std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path(name));
    return std::string(std::istreambuf_iterator<char>(file), {});
  }

  /// The names of the folder's entries.
  std::set<std::string> names() const {
    std::set<std::string> result;
    for (const auto& entry : std::filesystem::directory_iterator(mPath))
      result.insert(entry.path().filename().string());
    return result;
  }

 private:
  std::filesystem::path mPath;
};

}  // namespace qzTest

// Runs the files named as arguments, and those in folders, through a fuzzer, without looking for more.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  std::vector<std::filesystem::path> files;
  for (int i = 1; i < argc; ++i) {
    if (!std::filesystem::is_directory(argv[i])) {
      files.emplace_back(argv[i]);
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) files.push_back(entry.path());
  }
  for (const std::filesystem::path& file : files) {
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(stream), {});
    if (!stream) {
      std::fprintf(stderr, "cannot read %s\n", file.c_str());
      return 1;
    }
    std::printf("%s\n", file.c_str());
    std::fflush(stdout);  // a finding ends the program
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  }
  std::printf("%zu inputs\n", files.size());
  return files.empty() ? 1 : 0;
}

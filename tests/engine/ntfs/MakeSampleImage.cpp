// Makes an NTFS image and fragments it as the tests do, for the
// demonstration, the package's check and the long kill runs:
//   ntfs_sample_image IMAGE SEED [FRAGMENTS [GIB]]
// With FRAGMENTS, the image also holds /fragmented.bin in that many pieces;
// GIB sets the image's size (sparse). Prints the files it made.
#include <cstdio>
#include <cstdlib>

#include "NtfsImages.h"

int main(int argc, char** argv) {
  if (argc < 3 || argc > 5) {
    std::fputs("usage: ntfs_sample_image IMAGE SEED [FRAGMENTS [GIB]]\n", stderr);
    return 2;
  }
  const uint32_t seed = uint32_t(std::strtoul(argv[2], nullptr, 10));
  const int fragments = argc >= 4 ? std::atoi(argv[3]) : 0;
  // Room for the file, its gaps and a copy of it.
  const uint64_t bytes = argc == 5 ? std::strtoull(argv[4], nullptr, 10) << 30
                                   : (256ull << 20) + uint64_t(fragments) * 4096 * 8;
  FilledImage filled;
  std::string error;
  if (!MakeNtfsImage(argv[1], bytes, error) || !FillRandomly(argv[1], seed, 3, filled, error) ||
      (fragments > 0 && !AddFragmentedFile(argv[1], "fragmented.bin", fragments, error))) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  for (const std::string& file : filled.files) std::printf("%s\n", file.c_str());
  if (fragments > 0) std::printf("/fragmented.bin\n");
  return 0;
}

// Images that can't be run: each ends with a clear message and status 255.
#include <gmock/gmock.h>

#include <filesystem>

#include "support/orvo_process.h"

namespace orvo {
namespace {

using testing::HasSubstr;

struct BadImage {
  std::string name;
  std::string file;     // relative to the directory of the run
  std::string content;  // written before the run, unless the name ends in '/' or is "missing.*"
  std::string message;
};

std::ostream& operator<<(std::ostream& stream, const BadImage& test) { return stream << test.name; }

class BadImages : public testing::TestWithParam<BadImage> {};

TEST_P(BadImages, EndWithAMessageAndStatus255) {
  const BadImage& test = GetParam();
  OrvoBench bench;
  if (test.file.back() == '/') {
    std::filesystem::create_directory(bench.directory().path() / test.file);
  } else if (test.file.find("missing") == std::string::npos) {
    bench.directory().Write(test.file, test.content);
  }
  const std::string image =
      test.file.back() == '/' ? test.file.substr(0, test.file.size() - 1) : test.file;
  const ProcessResult run = bench.Run({"-i", image, "-p", "256", "-k", "1"});
  EXPECT_EQ(run.exit_status, 255) << run.out << run.err;
  EXPECT_EQ(run.signal, 0);
  EXPECT_THAT(run.err, HasSubstr(test.message));
  EXPECT_LT(run.err.size(), 2000u) << "one message, not one for each word";
}

// A vector table whose reset vector points at `entry`.
std::string Vectors(unsigned entry, unsigned stack = 0x20010000) {
  std::string bytes;
  for (unsigned word : {stack, entry}) {
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(word >> shift);
  }
  return bytes + std::string(56, '\0');
}

constexpr char kIncomplete[] = "You're binary is incomplete.";

INSTANTIATE_TEST_SUITE_P(
    , BadImages,
    testing::Values(
        BadImage{"missing_bin", "missing.bin", "", "Missing image file"},
        BadImage{"missing_hex", "missing.hex", "", "Missing image file"},
        BadImage{"empty_bin", "empty.bin", "", "Image file is empty: empty.bin"},
        BadImage{"empty_hex", "empty.hex", "", "Image file is empty: empty.hex"},
        BadImage{"directory_without_extension", "folder/", "", "Unsupported image file"},
        BadImage{"directory_named_bin", "folder.bin/", "", "Unable to open bin file: folder.bin"},
        BadImage{"directory_named_hex", "folder.hex/", "", "Unable to open hex file: folder.hex"},
        BadImage{"elf", "image.elf",
                 "\x7f"
                 "ELF",
                 "Unsupported image file"},
        BadImage{"upper_case_extension", "image.BIN", Vectors(0x41), "Unsupported image file"},
        BadImage{"name_shorter_than_an_extension", "bin", Vectors(0x41), "Unsupported image file"},
        BadImage{"text_for_hex", "image.hex", "This is not Intel HEX.\n",
                 "image.hex:1: not a HEX record, which begins with a colon"},
        BadImage{"letters_for_digits", "image.hex", ":10000000zzzz000041000000000000000000000099\n",
                 "image.hex:1: no hexadecimal digit in column 10"},
        BadImage{"record_without_data", "image.hex", ":10000000\n:00000001FF\n",
                 "image.hex:1: a record shorter than its byte count"},
        BadImage{"record_cut_short", "image.hex", ":1000000000000120410000\n",
                 "image.hex:1: the byte count tells of 16 bytes of data, but there are 6"},
        BadImage{"odd_count_of_digits", "image.hex", ":0400000000000120F\n:00000001FF\n",
                 "image.hex:1: an odd number of hexadecimal digits"},
        BadImage{"record_of_three_bytes", "image.hex", ":03000000000001FC\n:00000001FF\n",
                 "Parsing hex file was failed (image.hex:1: a data record of 3 bytes"},
        BadImage{"no_end_record", "image.hex", ":0800000000000120410000009E\n",
                 "image.hex:2: the file ends without an end-of-file record"},
        BadImage{"binary_for_hex", "image.hex", std::string(300, '\0'),
                 "image.hex:1: not a HEX record"},
        BadImage{"larger_than_flash", "image.bin", Vectors(0x41) + std::string(600 * 1024, 'x'),
                 "Image file doesn't fit into nrf52832: image.bin"},
        BadImage{"hex_outside_all_memory", "image.hex",
                 ":020000047000"
                 "8A\n:0800000000000120410000009E\n:00000001FF\n",
                 "Image file doesn't fit into nrf52832: image.hex"},
        BadImage{"entry_behind_the_image", "image.bin", Vectors(0x1001), kIncomplete},
        BadImage{"entry_in_ram", "image.bin", Vectors(0x20000001), kIncomplete},
        BadImage{"erased_flash", "image.bin", std::string(256, '\xff'), kIncomplete}),
    [](const auto& test) { return test.param.name; });

// Zeros are a vector table: the program starts at 0, and 0 is an instruction (movs r0, r0).
TEST(Images, ImageOfZerosRunsToTheEndOfTheProgramAndFaults) {
  OrvoBench bench;
  bench.directory().Write("zeros.bin", std::string(64, '\0'));
  const ProcessResult run = bench.Run({"-i", "zeros.bin"});
  EXPECT_EQ(run.exit_status, 1);
  EXPECT_THAT(run.err, HasSubstr("handler for interrupt for Hard Fault wasn't define"));
}

}  // namespace
}  // namespace orvo

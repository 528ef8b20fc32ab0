// The persistent store of a Bluetooth stack, as it stands after the stack's first run: three flash
// pages of 4096 bytes below 0x80000, each with two header words and erased otherwise.
#include "config/configuration_file_handler.h"
#include "memory/memory.h"
#include "runner/errors.h"
#include "runner/text.h"

namespace orvo {

namespace {

constexpr unsigned kPageBytes = 0x1000;
constexpr unsigned kStoreMagic = 0xdeadc0de;

struct StorePage {
  unsigned address;
  unsigned kind;  // second word
};
constexpr StorePage kStorePages[] = {
    {0x7d000, 0xf11e01ff},  // swap
    {0x7e000, 0xf11e01fe},  // data
    {0x7f000, 0xf11e01fe},  // data
};
constexpr unsigned kStoreEnd = 0x80000;

}  // namespace

void Memory::loadBLEAppTemplate() {
  const ConfigurationFileHandler& board = ConfigurationFileHandler::Get();
  if (!board.CheckIfLoadBle()) return;
  const MemorySection* flash = LookUpSection(kStorePages[0].address);
  if (flash == nullptr || flash->end() < kStoreEnd) {
    throw UserError(board.McuConfigPlace().document() +
                    ": Mcu config.load_ble_memory_values: the chip has no flash from 0x" +
                    IntToHex(kStorePages[0].address) + " to 0x" + IntToHex(kStoreEnd));
  }
  for (const StorePage& page : kStorePages) {
    set<false>(page.address, kStoreMagic);
    set<false>(page.address + 4, page.kind);
    for (unsigned offset = 8; offset < kPageBytes; ++offset) {
      setByte<false>(page.address + offset, 0xff);
    }
  }
}

}  // namespace orvo

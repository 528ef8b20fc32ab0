#include "peripherals/nrf52/ecb_handler.h"

#include <openssl/evp.h>

#include <iostream>
#include <memory>

#include "runner/errors.h"
#include "time/virtual_time.h"

namespace orvo {

namespace {

constexpr unsigned kAesBlockBytes = 16;
constexpr double kBlockMicroseconds = 7.2;

// The block at ECBDATAPTR.
constexpr unsigned kCleartext = kAesBlockBytes;
constexpr unsigned kCiphertext = 2 * kAesBlockBytes;
constexpr unsigned kDataBytes = 3 * kAesBlockBytes;

void Encrypt(const unsigned char* key, const unsigned char* cleartext, unsigned char* ciphertext) {
  const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(
      EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
  int length = 0;
  if (context == nullptr ||
      EVP_EncryptInit_ex(context.get(), EVP_aes_128_ecb(), nullptr, key, nullptr) != 1 ||
      EVP_EncryptUpdate(context.get(), ciphertext, &length, cleartext, kAesBlockBytes) != 1) {
    throw OrvoError("ECBHandler: OpenSSL can't encrypt");
  }
}

}  // namespace

// Deliberate: both tasks are taken for any value, 0 too.
void ECBHandler::set_TASKS_STARTECB(unsigned, unsigned) {
  stopped_ = false;
  const unsigned address = MemorySection::get(ECBDATAPTR);
  MemorySection* section = mcu_->memory().FindSection(address);
  if (section == nullptr) return;
  const unsigned offset = address - section->start();
  if (section->name() != "Data RAM" || section->size() - offset < kDataBytes) {
    std::cerr << "Warning: ECB: ECPDATAPTR is not pointing to Data RAM - operation is aborted\n";
    return;
  }
  ecb_data_ = section->GetORVOPtr(offset);
  Clock& clock = mcu_->clock();
  const double ticks = static_cast<double>(clock.GetFrequency()) * kBlockMicroseconds / 1e6;
  // Attached still if a block is under way, or was stopped: that one is given up.
  clock.DetachFromTick(this);
  clock.AttachToTick(clock.TickCount() + TruncateToTicks(ticks), this, false);
}

// Deliberate: an error also if no block is under way.
void ECBHandler::set_TASKS_STOPECB(unsigned, unsigned) { ERRORECBEvent(); }

void ECBHandler::ERRORECBEvent() {
  MemorySection::set(EVENTS_ERRORECB, kGenerated);
  stopped_ = true;
  if (error_interrupt_enabled_) RaiseInterrupt();
}

unsigned long ECBHandler::OnTick(unsigned long) {
  if (stopped_) return 0;
  Encrypt(ecb_data_, ecb_data_ + kCleartext, ecb_data_ + kCiphertext);
  MemorySection::set(EVENTS_ENDECB, kGenerated);
  if (end_interrupt_enabled_) RaiseInterrupt();
  return 0;
}

void ECBHandler::set_INTENSET(unsigned offset, unsigned value) {
  Nrf52Handler::set_INTENSET(offset, value);
  end_interrupt_enabled_ = IsEnabled(InterruptBit(EVENTS_ENDECB));
  error_interrupt_enabled_ = IsEnabled(InterruptBit(EVENTS_ERRORECB));
}

// Deliberate: after any write here both events raise the interrupt, whatever the registers say.
void ECBHandler::set_INTENCLR(unsigned offset, unsigned value) {
  Nrf52Handler::set_INTENCLR(offset, value);
  end_interrupt_enabled_ = true;
  error_interrupt_enabled_ = true;
}

void ECBHandler::Reset(ResetType type) {
  mcu_->clock().DetachFromTick(this);
  ecb_data_ = nullptr;
  end_interrupt_enabled_ = false;
  error_interrupt_enabled_ = false;
  stopped_ = false;
  PeripheralMemory::Reset(type);
}

}  // namespace orvo

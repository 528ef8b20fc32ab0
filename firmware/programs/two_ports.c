// The ports of the nRF52840: pin 5 of P0 drives, pin 5 of P1 reads, senses, and has a GPIOTE
// channel; and the other way round.
#include <stdio.h>

#include "drivers/gpio.h"

int main(void) {
  for (unsigned driver = 0; driver < 2; ++driver) {
    const unsigned reader = 1 - driver;
    GPIO_PIN_CNF(reader, 5) = GPIO_INPUT | GPIO_SENSE_HIGH;
    GPIO_PIN_CNF(driver, 5) = GPIO_OUTPUT;
    GPIOTE_CONFIG(0) = GPIOTE_EVENT(5, kRising);
    GPIOTE_INTENSET = GPIOTE_INT_IN(0);
    GPIOTE_EVENTS_IN(0) = GPIOTE_EVENTS_PORT = 0;
    const unsigned low = gpio_read(reader, 5), other = gpio_read(reader, 6);
    GPIO_OUTSET(driver) = 1u << 5;
    printf("P%u drives, P%u reads %u %u, its pin 6 %u, port event %u, channel %u\n", driver, reader,
           low, gpio_read(reader, 5), other, (unsigned)GPIOTE_EVENTS_PORT,
           (unsigned)GPIOTE_EVENTS_IN(0));
    GPIO_PIN_CNF(driver, 5) = GPIO_INPUT;
  }
  return 0;
}

# Firmware images for the simulated chips, cross-compiled by custom commands beside the host build.
#
# orvo_firmware(NAME PROGRAM file.c [SOURCES file.c ...] [OPT -O2] [FLOAT hard|soft]
#               [CPU cortex-m4] [CHIP nrf52832] [DEFINES A=1 ...] [FLAGS -g ...])
#
# builds NAME.elf, NAME.bin and NAME.hex in ORVO_FIRMWARE_DIR as part of the target `firmware`.
# CHIP names a linker script of firmware/boot/. The start-up code and the drivers are compiled once
# for each kind of float, core and board.
find_program(ARM_GCC arm-none-eabi-gcc)
find_program(ARM_OBJCOPY arm-none-eabi-objcopy)
if(NOT ARM_GCC OR NOT ARM_OBJCOPY)
  message(FATAL_ERROR "arm-none-eabi-gcc is missing, which the tests and benchmarks need: run "
                      "scripts/install_packages.sh test, or configure with -DORVO_TESTS=OFF "
                      "-DORVO_BENCH=OFF")
endif()

set(ORVO_FIRMWARE_SOURCE_DIR ${PROJECT_SOURCE_DIR}/firmware)
set(ORVO_FIRMWARE_DIR ${PROJECT_BINARY_DIR}/firmware)
file(GLOB ORVO_FIRMWARE_HEADERS CONFIGURE_DEPENDS
     ${ORVO_FIRMWARE_SOURCE_DIR}/boot/*.h ${ORVO_FIRMWARE_SOURCE_DIR}/drivers/*.h
     ${ORVO_FIRMWARE_SOURCE_DIR}/kernel/*.h)
file(GLOB ORVO_FIRMWARE_SCRIPTS CONFIGURE_DEPENDS ${ORVO_FIRMWARE_SOURCE_DIR}/boot/*.ld)
add_custom_target(firmware ALL)

# What an image for the boards of `family` is made of, beside the program.
set(ORVO_FIRMWARE_COMMON boot/startup.c boot/syscalls.c)
set(ORVO_FIRMWARE_nrf52 boot/firmware_done.c drivers/console.c drivers/uart.c drivers/uarte.c)
set(ORVO_FIRMWARE_mps2 drivers/mps2.c)

# -Wno-attributes: GCC warns that an interrupt handler might use the FPU; ours do not.
set(ORVO_FIRMWARE_FLAGS
    -std=gnu11 -mthumb -Wall -Wextra -Wshadow -Werror -Wno-attributes
    -ffunction-sections -fdata-sections -I${ORVO_FIRMWARE_SOURCE_DIR})
set(ORVO_FIRMWARE_FLOAT_hard -mfloat-abi=hard -mfpu=fpv4-sp-d16)
set(ORVO_FIRMWARE_FLOAT_soft -mfloat-abi=soft)

# The linked, not yet located, start-up code and drivers of a family.
function(_orvo_firmware_support output family float cpu)
  set(name support-${family}-${float}-${cpu})
  set(object ${ORVO_FIRMWARE_DIR}/${name}.o)
  set(${output} ${object} PARENT_SCOPE)
  if(TARGET firmware_${name})
    return()
  endif()
  list(TRANSFORM ORVO_FIRMWARE_COMMON PREPEND ${ORVO_FIRMWARE_SOURCE_DIR}/ OUTPUT_VARIABLE sources)
  foreach(source ${ORVO_FIRMWARE_${family}})
    list(APPEND sources ${ORVO_FIRMWARE_SOURCE_DIR}/${source})
  endforeach()
  add_custom_command(
    OUTPUT ${object}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${ORVO_FIRMWARE_DIR}
    COMMAND ${ARM_GCC} ${ORVO_FIRMWARE_FLAGS} -mcpu=${cpu} ${ORVO_FIRMWARE_FLOAT_${float}} -Os -r
            -nostdlib ${sources} -o ${object}
    DEPENDS ${sources} ${ORVO_FIRMWARE_HEADERS}
    COMMENT "Firmware: start-up code and drivers, ${family}, ${float} float, ${cpu}"
    VERBATIM)
  add_custom_target(firmware_${name} DEPENDS ${object})
endfunction()

function(orvo_firmware name)
  cmake_parse_arguments(image "" "PROGRAM;OPT;FLOAT;CPU;CHIP" "DEFINES;FLAGS;SOURCES" ${ARGN})
  foreach(default "OPT -O2" "FLOAT hard" "CPU cortex-m4" "CHIP nrf52832")
    string(REGEX MATCH "([^ ]+) (.+)" ignored ${default})
    if(NOT image_${CMAKE_MATCH_1})
      set(image_${CMAKE_MATCH_1} ${CMAKE_MATCH_2})
    endif()
  endforeach()
  string(REGEX MATCH "nrf52|mps2" family ${image_CHIP})
  _orvo_firmware_support(support ${family} ${image_FLOAT} ${image_CPU})
  cmake_path(ABSOLUTE_PATH image_PROGRAM BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
  list(TRANSFORM image_SOURCES PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  list(TRANSFORM image_DEFINES PREPEND -D)
  set(stem ${ORVO_FIRMWARE_DIR}/${name})
  add_custom_command(
    OUTPUT ${stem}.elf ${stem}.bin ${stem}.hex
    COMMAND ${ARM_GCC} ${ORVO_FIRMWARE_FLAGS} -mcpu=${image_CPU}
            ${ORVO_FIRMWARE_FLOAT_${image_FLOAT}} ${image_OPT} ${image_FLAGS} ${image_DEFINES}
            ${image_PROGRAM} ${image_SOURCES} ${support} -nostartfiles --specs=nano.specs -u _printf_float -lm
            -Wl,--gc-sections -L${ORVO_FIRMWARE_SOURCE_DIR}/boot -T ${image_CHIP}.ld -o
            ${stem}.elf
    COMMAND ${ARM_OBJCOPY} -O binary ${stem}.elf ${stem}.bin
    COMMAND ${ARM_OBJCOPY} -O ihex ${stem}.elf ${stem}.hex
    DEPENDS ${image_PROGRAM} ${image_SOURCES} ${support}
            firmware_support-${family}-${image_FLOAT}-${image_CPU} ${ORVO_FIRMWARE_HEADERS}
            ${ORVO_FIRMWARE_SCRIPTS}
    COMMENT "Firmware: ${name}"
    VERBATIM)
  add_custom_target(firmware_${name} DEPENDS ${stem}.elf ${stem}.bin ${stem}.hex)
  add_dependencies(firmware firmware_${name})
endfunction()

# In the directory of app.elf, for a run that was started before:
#     orvo -i app.bin -u -g
# and then
#     gdb-multiarch -x .gdbinit
# (or without -x, where ~/.config/gdb/gdbinit has a line `set auto-load safe-path .`).
set confirm off
set breakpoint auto-hw off
# A watchpoint of the chip's own would end the run: GDB steps and compares instead.
set can-use-hw-watchpoints 0

file app.elf
target remote localhost:5555

define restart
  monitor reset halt
  maintenance flush register-cache
end
document restart
Back to the first instruction, with the memory as after a software reset.
end

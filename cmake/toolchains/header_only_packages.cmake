# The libraries that the tool uses are headers alone and the same on every machine, so Debian's packages of the build
# machine serve the board too; searched last, they never hide the target's own C library.
set(CMAKE_CXX_FLAGS_INIT "-idirafter /usr/include")

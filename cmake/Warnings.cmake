# One interface target that carries what every target of ours is compiled with: warnings as errors and, on demand,
# the sanitizers. Code of other makers (the test framework on Windows) does not link it.
add_library(morvane-flags INTERFACE)
target_compile_options(morvane-flags INTERFACE
	-Wall -Wextra -Wpedantic -Werror
	-Wshadow -Wconversion -Wsign-conversion -Wswitch-enum -Wold-style-cast
	-Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wunused -Wnull-dereference
	-Wimplicit-fallthrough -Wextra-semi
)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
	# g++ 12 reports what cannot happen: null dereferences and overlapping copies inside inlined library code, and accesses beyond
	# objects of another type where it has merged functions with the same instructions. clang++ checks the same code without.
	target_compile_options(morvane-flags INTERFACE -Wno-null-dereference -Wno-restrict -Wno-array-bounds)
	# Unique symbols would keep the external object in its host's memory for ever.
	target_compile_options(morvane-flags INTERFACE $<$<PLATFORM_ID:Linux>:-fno-gnu-unique>)
endif()
if(MORVANE_SANITIZE)
	target_compile_options(morvane-flags INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
	target_link_options(morvane-flags INTERFACE -fsanitize=address,undefined)
endif()
if(MORVANE_FUZZ)
	target_compile_options(morvane-flags INTERFACE -fsanitize=fuzzer-no-link)
	target_link_options(morvane-flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

# How every target of this project is compiled and linked: `qv_options`, linked privately.

add_library(qv_options INTERFACE)

# The same bytes from whatever folder the tree is built in: no path of it gets into the code or the
# debug information. Of two that fit, the last one counts, so the build directory stands behind the
# source directory, which holds it.
add_compile_options(
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}/= -ffile-prefix-map=${PROJECT_BINARY_DIR}=.)

target_compile_options(qv_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
    -Woverloaded-virtual -Wcast-align -Wcast-qual -Wformat=2 -Wundef -Wunused -Wvla
    -Wnull-dereference -Wextra-semi -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(qv_options INTERFACE
        -Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wsuggest-override)
endif()

# A library that lacks a symbol must fail to link, not to run: bundles are opened lazily.
target_link_options(qv_options INTERFACE -Wl,-z,now -Wl,-z,relro -Wl,--as-needed)

if(QV_SANITIZE STREQUAL "address")
    target_compile_options(qv_options INTERFACE
        -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    set(sanitizer_macro __SANITIZE_ADDRESS__)
    target_link_options(qv_options INTERFACE -fsanitize=address,undefined)
elseif(QV_SANITIZE STREQUAL "thread")
    target_compile_options(qv_options INTERFACE -fsanitize=thread -fno-omit-frame-pointer)
    set(sanitizer_macro __SANITIZE_THREAD__)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        # clang++ compiles in two thirds of g++'s time. But its runtime defines the operators new and
        # delete for good, and some tests have their own; g++'s runtime leaves them free.
        target_link_options(qv_options INTERFACE
            $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-l:libtsan_preinit.o>
            "LINKER:--push-state,--no-as-needed" -ltsan "LINKER:--pop-state")
    else()
        target_link_options(qv_options INTERFACE -fsanitize=thread)
    endif()
elseif(QV_SANITIZE)
    message(FATAL_ERROR "QV_SANITIZE is '${QV_SANITIZE}': empty, address and thread are known")
else()
    # The sanitizers' runtimes resolve symbols late, so this holds for the plain builds only.
    target_link_options(qv_options INTERFACE -Wl,-z,defs)
    target_compile_options(qv_options INTERFACE
        -fstack-protector-strong -fstack-clash-protection -fcf-protection
        $<$<CONFIG:Release>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
endif()

# g++ defines it, clang does not.
if(QV_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_definitions(qv_options INTERFACE ${sanitizer_macro})
endif()

# qv_without_threads: for what has one thread only. The thread sanitizer has nothing to look at there
# and takes long, so its preset compiles such targets plainly. Stands behind qv_options.
add_library(qv_without_threads INTERFACE)
if(QV_SANITIZE STREQUAL "thread")
    target_compile_options(qv_without_threads INTERFACE "SHELL:-O0 -fno-sanitize=thread")
endif()

# qv_compile_for_speed(target): file by file. The compiler inlines what is rare where it sees a whole
# library, and the usual way takes more instructions (docs/performance.md). With a sanitizer, whose
# presets do not optimise: together, and optimised a little, since the tests wait for it.
function(qv_compile_for_speed target)
    if(QV_SANITIZE)
        target_compile_options(${target} PRIVATE -O1)
    else()
        set_target_properties(${target} PROPERTIES UNITY_BUILD OFF)
    endif()
endfunction()

# qv_compile_lightly(a.cpp ...), qv_compile_target_lightly(target): for files of the current directory,
# or all of a target, that read a command line once in a process's life, and whose parser library takes
# the optimiser and the undefined-behaviour sanitizer three times as long as all the rest of the file.
if(QV_SANITIZE)
    set(light_options -fno-sanitize=undefined)
else()
    set(light_options -O1)
endif()
function(qv_compile_lightly)
    set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "${light_options}")
endfunction()
function(qv_compile_target_lightly target)
    target_compile_options(${target} PRIVATE ${light_options})
endfunction()

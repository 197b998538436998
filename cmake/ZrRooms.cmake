# A room is one object library whose include directory reaches only the rooms that link it, so an include that runs
# upward (a lower room asking for a higher room's header) does not compile.

# What nearly every file of the rooms includes, parsed once: a file compiles in a third of the time. Headers still include
# what they use; a room's own headers are not here, or a change of one would compile everything anew.
set(ZR_PRECOMPILED <algorithm> <array> <atomic> <cmath> <cstring> <functional> <map> <memory> <mutex> <optional> <span>
                   <string> <string_view> <unordered_map> <utility> <vector>)

# zr_room(<name> DIR <dir> [SOURCES <file>...] [DEPENDS <room>...] [USES <target>...] [LINKS <target>...]
#         [DEFINES <definition>...])
# Public headers are the .h files of <dir>; those of <dir>/internal, which are named *Imp.h, are for the library's rooms and
# are not installed.
# Sources are the .cpp files of <dir> and <dir>/src, less those that a room before this one named: rooms inside a base
# module, with headers in a folder of their own, name theirs, and come first.
# USES: libraries of headers only, needed to compile this room and by nobody else.
# LINKS: libraries that the product is linked with. Imported targets: the package is the name before "::", its pkg-config
# module the same in lower case; both are how a static installation names what it needs.
function(zr_room name)
    cmake_parse_arguments(ROOM "" "DIR" "SOURCES;DEPENDS;USES;LINKS;DEFINES" ${ARGN})
    set(dir ${CMAKE_CURRENT_SOURCE_DIR}/${ROOM_DIR})
    file(GLOB sources CONFIGURE_DEPENDS ${dir}/*.cpp ${dir}/src/*.cpp)
    get_property(named GLOBAL PROPERTY ZR_NAMED_SOURCES)
    list(REMOVE_ITEM sources ${named})
    foreach(source IN LISTS ROOM_SOURCES)
        file(REAL_PATH ${source} source BASE_DIRECTORY ${dir})
        list(APPEND sources ${source})
        set_property(GLOBAL APPEND PROPERTY ZR_NAMED_SOURCES ${source})
    endforeach()
    file(GLOB headers CONFIGURE_DEPENDS ${dir}/*.h)
    list(FILTER headers EXCLUDE REGEX "Imp\\.h$")
    file(GLOB privateHeaders CONFIGURE_DEPENDS ${dir}/internal/*.h)
    if(sources)
        add_library(zr_${name} OBJECT ${sources})
        set(scope PUBLIC)
        target_link_libraries(zr_${name} PRIVATE zr_room_flags ${ROOM_USES} ${ROOM_LINKS})
        target_compile_definitions(zr_${name} PRIVATE ${ROOM_DEFINES})
        set_target_properties(
            zr_${name} PROPERTIES POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden
                                  VISIBILITY_INLINES_HIDDEN ON)
        if(NOT TARGET zr_room_pch)
            zr_room_pch()
        endif()
        target_precompile_headers(zr_${name} REUSE_FROM zr_room_pch)
        set_property(GLOBAL APPEND PROPERTY ZR_ROOM_TARGETS zr_${name})
    else()
        add_library(zr_${name} INTERFACE)
        set(scope INTERFACE)
    endif()
    target_include_directories(zr_${name} ${scope} ${dir})
    if(privateHeaders)
        target_include_directories(zr_${name} ${scope} ${dir}/internal)
    endif()
    foreach(lower IN LISTS ROOM_DEPENDS)
        target_link_libraries(zr_${name} ${scope} zr_${lower})
    endforeach()
    set_property(GLOBAL APPEND PROPERTY ZR_ROOMS ${name})
    set_property(GLOBAL APPEND PROPERTY ZR_LINKS ${ROOM_LINKS})
    set_property(GLOBAL PROPERTY ZR_HEADERS_${name} ${headers})
    set_property(GLOBAL PROPERTY ZR_DEPENDS_${name} ${ROOM_DEPENDS})
    set_property(GLOBAL APPEND PROPERTY ZR_PUBLIC_HEADERS ${headers})
    set_property(GLOBAL APPEND PROPERTY ZR_PRIVATE_HEADERS ${privateHeaders})
endfunction()

# The precompiled header of the rooms: compiled with their flags, or compilers would not take it.
function(zr_room_pch)
    # Nobody replaces the library's functions under it: calls inside it are direct, and may be inlined.
    add_library(zr_room_flags INTERFACE)
    target_compile_options(zr_room_flags INTERFACE -fno-semantic-interposition)
    if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
        # What templates have once is found by its name (dmPropertySetInit.h), and not looked up at every start.
        target_compile_options(zr_room_flags INTERFACE -fno-gnu-unique)
    endif()
    target_link_libraries(zr_room_flags INTERFACE zr_build_flags)
    file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/roomPch.cpp CONTENT "")
    add_library(zr_room_pch OBJECT ${CMAKE_BINARY_DIR}/roomPch.cpp)
    target_link_libraries(zr_room_pch PRIVATE zr_room_flags)
    target_precompile_headers(zr_room_pch PRIVATE ${ZR_PRECOMPILED})
    set_target_properties(
        zr_room_pch PROPERTIES POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
endfunction()

# Programs that a sanitizer's or the fuzzer's build needs, so that such a build stays small.
add_custom_target(zr_thread_programs COMMENT "Test programs that start threads")
add_custom_target(zr_fuzz_programs COMMENT "Fuzz targets")

# zr_test(<name> SOURCES <file>... [LIBRARIES <target>...] [LABELS <label>...])
# A GoogleTest program on the finished library; every TEST of it is a CTest test, in a process of its own. The label
# "threads" is for programs that start threads: the thread sanitizer runs those.
function(zr_test name)
    cmake_parse_arguments(TEST "" "" "SOURCES;LIBRARIES;LABELS" ${ARGN})
    set(properties TIMEOUT 600)
    if(TEST_LABELS)
        list(APPEND properties LABELS "${TEST_LABELS}")
    endif()
    add_executable(${name} ${TEST_SOURCES})
    target_link_libraries(${name} PRIVATE zr_test_support ${TEST_LIBRARIES})
    target_precompile_headers(${name} REUSE_FROM zr_test_pch)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 PROPERTIES ${properties})
    if("threads" IN_LIST TEST_LABELS)
        add_dependencies(zr_thread_programs ${name})
    endif()
endfunction()

# zr_bench(<name> SOURCES <file>...): a Google Benchmark program; it prints ratios, and no test depends on a time.
function(zr_bench name)
    cmake_parse_arguments(BENCH "" "" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(${name} ${BENCH_SOURCES})
    target_link_libraries(${name} PRIVATE ZRdmtree zr_build_flags benchmark::benchmark ${BENCH_LIBRARIES})
endfunction()

# zr_fuzz(<name> [ONE_OF <n>] SOURCES <file>... CORPUS <dir>): a libFuzzer target; with ZR_FUZZ_RUNS inputs it is a CTest
# test, with one of n where an input takes long.
# New inputs and crashes go to the build tree: the committed corpus is only read. Every run begins with that alone and
# with one seed, so that a run is what the last one was unless the code has changed.
function(zr_fuzz name)
    cmake_parse_arguments(FUZZ "" "CORPUS;ONE_OF" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(${name} ${FUZZ_SOURCES})
    target_link_libraries(${name} PRIVATE ZRdmtree zr_build_flags ${FUZZ_LIBRARIES})
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    add_dependencies(zr_fuzz_programs ${name})
    set(runs ${ZR_FUZZ_RUNS})
    if(FUZZ_ONE_OF)
        math(EXPR runs "${runs} / ${FUZZ_ONE_OF}")
    endif()
    set(found ${CMAKE_CURRENT_BINARY_DIR}/${name}-corpus)
    get_filename_component(corpus ${FUZZ_CORPUS} ABSOLUTE)
    set(options -runs=${runs} -timeout=120 -rss_limit_mb=4096 -seed=1
                -artifact_prefix=${CMAKE_CURRENT_BINARY_DIR}/${name}-)
    add_test(NAME ${name}
             COMMAND sh -c "rm -rf \"$0\" && mkdir \"$0\" && exec \"$@\"" ${found} $<TARGET_FILE:${name}> ${options} ${found}
                     ${corpus})
endfunction()

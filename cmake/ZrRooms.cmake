# A room is one object library whose include directory reaches only the rooms that link it, so an include that runs
# upward (a lower room asking for a higher room's header) does not compile.

# zr_room(<name> DIR <dir> [DEPENDS <room>...])
# Sources are the .cpp files of <dir> (of <dir>/src for base modules); public headers are the .h files of <dir>, less
# those named *Imp.h, which stay private to the library.
function(zr_room name)
    cmake_parse_arguments(ROOM "" "DIR" "DEPENDS" ${ARGN})
    set(dir ${CMAKE_CURRENT_SOURCE_DIR}/${ROOM_DIR})
    file(GLOB sources CONFIGURE_DEPENDS ${dir}/*.cpp ${dir}/src/*.cpp)
    file(GLOB headers CONFIGURE_DEPENDS ${dir}/*.h)
    list(FILTER headers EXCLUDE REGEX "Imp\\.h$")
    if(sources)
        add_library(zr_${name} OBJECT ${sources})
        set(scope PUBLIC)
        target_link_libraries(zr_${name} PRIVATE zr_build_flags)
        target_compile_definitions(zr_${name} PRIVATE ZR_DM_BUILD)
        set_target_properties(
            zr_${name} PROPERTIES POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden
                                  VISIBILITY_INLINES_HIDDEN ON)
        set_property(GLOBAL APPEND PROPERTY ZR_ROOM_TARGETS zr_${name})
        if(EXISTS ${dir}/src)
            target_include_directories(zr_${name} PRIVATE ${dir}/src)
        endif()
    else()
        add_library(zr_${name} INTERFACE)
        set(scope INTERFACE)
    endif()
    target_include_directories(zr_${name} ${scope} ${dir})
    foreach(lower IN LISTS ROOM_DEPENDS)
        target_link_libraries(zr_${name} ${scope} zr_${lower})
    endforeach()
    set_property(GLOBAL APPEND PROPERTY ZR_PUBLIC_HEADERS ${headers})
endfunction()

# zr_test(<name> SOURCES <file>... [LIBRARIES <target>...] [LABELS <label>...])
# A GoogleTest program on the finished library; every TEST of it is a CTest test.
function(zr_test name)
    cmake_parse_arguments(TEST "" "" "SOURCES;LIBRARIES;LABELS" ${ARGN})
    add_executable(${name} ${TEST_SOURCES})
    target_link_libraries(${name} PRIVATE zr_test_support ${TEST_LIBRARIES})
    target_precompile_headers(${name} REUSE_FROM zr_test_pch)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES LABELS "${TEST_LABELS}" TIMEOUT 600)
endfunction()

# zr_bench(<name> SOURCES <file>...): a Google Benchmark program; it prints ratios, and no test depends on a time.
function(zr_bench name)
    cmake_parse_arguments(BENCH "" "" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(${name} ${BENCH_SOURCES})
    target_link_libraries(${name} PRIVATE ZRdmtree zr_build_flags benchmark::benchmark ${BENCH_LIBRARIES})
endfunction()

# zr_fuzz(<name> SOURCES <file>... CORPUS <dir>): a libFuzzer target; with ZR_FUZZ_RUNS inputs it is a CTest test.
function(zr_fuzz name)
    cmake_parse_arguments(FUZZ "" "CORPUS" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(${name} ${FUZZ_SOURCES})
    target_link_libraries(${name} PRIVATE ZRdmtree zr_build_flags ${FUZZ_LIBRARIES})
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    add_test(NAME ${name} COMMAND ${name} -runs=${ZR_FUZZ_RUNS} -timeout=20 -rss_limit_mb=4096 -seed=1
                                  ${CMAKE_CURRENT_BINARY_DIR}/${name}-corpus ${FUZZ_CORPUS})
    file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/${name}-corpus)
endfunction()

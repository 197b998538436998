# The one product, libZRdmtree, made of the rooms' objects, and everything that installs it.
include(CMakePackageConfigHelpers)

# What is installed, laid out flat as it is installed: the only headers that interchange, tools, tests and examples see.
# ZRdmtree.h, which includes them all, is written from the same list, so that it is never out of date.
set(ZR_STAGE_INCLUDE ${CMAKE_BINARY_DIR}/stage/include/ZRdmtree)
set(ZR_UMBRELLA_HEADER ${CMAKE_BINARY_DIR}/stage/ZRdmtree.h)
function(zr_stage_headers)
    get_property(headers GLOBAL PROPERTY ZR_PUBLIC_HEADERS)
    list(TRANSFORM headers REPLACE "^.*/([^/]+)$" "#include \"\\1\"\n" OUTPUT_VARIABLE includes)
    list(JOIN includes "" ZR_INCLUDES)
    file(CONFIGURE OUTPUT ${ZR_UMBRELLA_HEADER} @ONLY
         CONTENT "/// The whole interface of the library, from the ground up.\n#pragma once\n\n@ZR_INCLUDES@")

    file(GLOB stale ${ZR_STAGE_INCLUDE}/*)
    file(MAKE_DIRECTORY ${ZR_STAGE_INCLUDE})
    foreach(header IN LISTS headers ITEMS ${ZR_UMBRELLA_HEADER})
        get_filename_component(name ${header} NAME)
        list(REMOVE_ITEM stale ${ZR_STAGE_INCLUDE}/${name})
        file(CREATE_LINK ${header} ${ZR_STAGE_INCLUDE}/${name} SYMBOLIC)
    endforeach()
    if(stale)
        file(REMOVE ${stale})
    endif()
endfunction()

# zr_product(<target> [COMPONENT <name>])
# The library and its installation: headers, CMake package and pkg-config file. Shared or static by BUILD_SHARED_LIBS.
# With COMPONENT it is a static one besides the product, of the same objects, installed only when asked for by name.
function(zr_product target)
    cmake_parse_arguments(PRODUCT "" "COMPONENT" "" ${ARGN})
    if(PRODUCT_COMPONENT)
        add_library(${target} STATIC)
        set(component COMPONENT ${PRODUCT_COMPONENT} EXCLUDE_FROM_ALL)
    else()
        add_library(${target})
        add_library(ZRdmtree::${target} ALIAS ${target})
        set(component COMPONENT ZRdmtree)
    endif()
    get_property(rooms GLOBAL PROPERTY ZR_ROOM_TARGETS)
    get_property(links GLOBAL PROPERTY ZR_LINKS)
    foreach(room IN LISTS rooms)
        target_sources(${target} PRIVATE $<TARGET_OBJECTS:${room}>)
    endforeach()
    set_target_properties(
        ${target} PROPERTIES OUTPUT_NAME ZRdmtree EXPORT_NAME ZRdmtree LINKER_LANGUAGE CXX VERSION ${PROJECT_VERSION}
                             SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
    target_compile_features(${target} PUBLIC cxx_std_20)
    target_include_directories(
        ${target} INTERFACE $<BUILD_INTERFACE:${ZR_STAGE_INCLUDE}>
                            $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/ZRdmtree>)
    target_link_libraries(${target} PUBLIC Threads::Threads PRIVATE ${links})
    # Calls inside the library are bound when it is linked, which takes most of what a start looks up; its variables are
    # not: a program may hold them itself, copied when it is started. What the library registers with the system (exits
    # of threads, forks) is its own code: it stays when a plug-in that linked it goes.
    target_link_options(${target} PRIVATE "LINKER:-Bsymbolic-functions,-z,nodelete")

    # Classes register themselves from static objects, in object files that nobody refers to: an archive is linked whole,
    # or it would lose them.
    get_target_property(type ${target} TYPE)
    set(packages Threads)
    set(modules "")
    set(pcLibs "-L\${libdir} -lZRdmtree")
    if(type STREQUAL STATIC_LIBRARY)
        target_link_options(
            ${target} INTERFACE
            "LINKER:--whole-archive,$<TARGET_FILE:$<TARGET_NAME:${target}>>,--no-whole-archive")
        set(pcLibs "-Wl,--whole-archive,\${libdir}/libZRdmtree.a,--no-whole-archive")
        foreach(link IN LISTS links)
            string(REGEX REPLACE "::.*" "" package ${link})
            string(TOLOWER ${package} module)
            list(APPEND packages ${package})
            list(APPEND modules ${module})
        endforeach()
    endif()

    get_property(headers GLOBAL PROPERTY ZR_PUBLIC_HEADERS)
    install(FILES ${headers} ${ZR_UMBRELLA_HEADER} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ZRdmtree ${component})
    install(TARGETS ${target} EXPORT ${target} ${component})

    set(out ${CMAKE_BINARY_DIR}/package/${target})
    set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/ZRdmtree)
    list(TRANSFORM packages REPLACE "^(.+)$" "find_dependency(\\1)\n" OUTPUT_VARIABLE findDependencies)
    list(JOIN findDependencies "" findDependencies)
    configure_package_config_file(
        ${PROJECT_SOURCE_DIR}/cmake/ZRdmtreeConfig.cmake.in ${out}/ZRdmtreeConfig.cmake
        INSTALL_DESTINATION ${packageDir})
    write_basic_package_version_file(${out}/ZRdmtreeConfigVersion.cmake COMPATIBILITY SameMinorVersion)
    install(FILES ${out}/ZRdmtreeConfig.cmake ${out}/ZRdmtreeConfigVersion.cmake DESTINATION ${packageDir} ${component})
    install(EXPORT ${target} NAMESPACE ZRdmtree:: FILE ZRdmtreeTargets.cmake DESTINATION ${packageDir} ${component})

    file(RELATIVE_PATH pcPrefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
    string(REGEX REPLACE "/$" "" pcPrefix ${pcPrefix})
    list(JOIN modules " " pcRequires)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/ZRdmtree.pc.in ${out}/ZRdmtree.pc @ONLY)
    install(FILES ${out}/ZRdmtree.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig ${component})
endfunction()

# zr_interchange_product(<target> LIBRARY <target> [COMPONENT <name>])
# Conversions of cut lists as a library beside the product, in the package that LIBRARY is installed with; COMPONENT as for
# zr_product.
function(zr_interchange_product target)
    cmake_parse_arguments(PRODUCT "" "LIBRARY;COMPONENT" "" ${ARGN})
    if(PRODUCT_COMPONENT)
        add_library(${target} STATIC)
        set(component COMPONENT ${PRODUCT_COMPONENT} EXCLUDE_FROM_ALL)
    else()
        add_library(${target})
        add_library(ZRdmtree::Interchange ALIAS ${target})
        set(component COMPONENT ZRdmtree)
    endif()
    get_property(rooms GLOBAL PROPERTY ZR_INTERCHANGE_ROOMS)
    foreach(room IN LISTS rooms)
        target_sources(${target} PRIVATE $<TARGET_OBJECTS:zr_ic_${room}>)
    endforeach()
    set_target_properties(
        ${target} PROPERTIES OUTPUT_NAME ZRinterchange EXPORT_NAME Interchange LINKER_LANGUAGE CXX INSTALL_RPATH $ORIGIN
                             VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})

    # Headers laid out as they are installed.
    get_property(headers GLOBAL PROPERTY ZR_INTERCHANGE_HEADERS)
    set(stage ${CMAKE_BINARY_DIR}/stage/interchange)
    file(MAKE_DIRECTORY ${stage})
    foreach(header IN LISTS headers)
        get_filename_component(name ${header} NAME)
        file(CREATE_LINK ${header} ${stage}/${name} SYMBOLIC)
    endforeach()
    target_include_directories(${target} INTERFACE $<BUILD_INTERFACE:${stage}>
                                                   $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/ZRdmtree>)
    get_property(links GLOBAL PROPERTY ZR_INTERCHANGE_LINKS)
    target_link_libraries(${target} PUBLIC ${PRODUCT_LIBRARY} PRIVATE ${links})
    install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ZRdmtree ${component})
    install(TARGETS ${target} EXPORT ${PRODUCT_LIBRARY} ${component})

    file(RELATIVE_PATH pcPrefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
    string(REGEX REPLACE "/$" "" pcPrefix ${pcPrefix})
    get_target_property(type ${target} TYPE)
    set(ZR_INTERCHANGE_LIBS "-L\${libdir} -lZRinterchange")
    if(type STREQUAL STATIC_LIBRARY)
        list(TRANSFORM links PREPEND " -l" OUTPUT_VARIABLE staticLinks)
        string(APPEND ZR_INTERCHANGE_LIBS ${staticLinks})
    endif()
    set(out ${CMAKE_BINARY_DIR}/package/${target})
    configure_file(${PROJECT_SOURCE_DIR}/cmake/ZRinterchange.pc.in ${out}/ZRinterchange.pc @ONLY)
    install(FILES ${out}/ZRinterchange.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig ${component})
endfunction()

# The platform back ends built into vesk_app. Each is a folder under app/platform/ whose
# `<Name>Platform.h` declares `create<Name>Platform()`; at start-up they are asked in the order added here,
# and the limited back end serves when none can. A back end whose libraries are missing is left out.
#
# Sets VESK_PLATFORM_SOURCES, VESK_PLATFORM_LIBRARIES and the global property VESK_PLATFORM_BACKENDS (the
# names, for the tests), and generates app/platform/PlatformBackEnds.h under VESK_PLATFORM_GENERATED.

set(VESK_PLATFORM_SOURCES "")
set(VESK_PLATFORM_LIBRARIES "")
set(VESK_PLATFORM_INCLUDES "")
set(VESK_PLATFORM_FACTORIES "")

# vesk_platform_backend(<Name> <folder> <libraries>...)
macro(vesk_platform_backend name folder)
    file(GLOB _vesk_backend_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/${folder}/*.cpp
         ${CMAKE_CURRENT_LIST_DIR}/${folder}/*.h)
    list(APPEND VESK_PLATFORM_SOURCES ${_vesk_backend_sources})
    list(APPEND VESK_PLATFORM_LIBRARIES ${ARGN})
    string(APPEND VESK_PLATFORM_INCLUDES "#include \"app/platform/${folder}/${name}Platform.h\"\n")
    string(APPEND VESK_PLATFORM_FACTORIES "&create${name}Platform, ")
    set_property(GLOBAL APPEND PROPERTY VESK_PLATFORM_BACKENDS ${name})
    message(STATUS "Platform back end: ${name}")
endmacro()

# Wayland first: in a Wayland session XWayland may well answer for X11 too, but XTest reaches only X clients.
# Vesk's own protocol clients on libwayland-client, their code generated from the protocol descriptions in
# wayland/protocols; portals through Qt's D-Bus module.
option(VESK_WAYLAND "Build the Wayland back end" ON)
find_package(PkgConfig)
find_package(Qt6 6.4 COMPONENTS DBus)
find_program(WAYLAND_SCANNER wayland-scanner)
if(VESK_WAYLAND AND PkgConfig_FOUND AND Qt6DBus_FOUND AND WAYLAND_SCANNER)
    pkg_check_modules(VESK_WAYLAND_LIBS IMPORTED_TARGET wayland-client xkbcommon)
endif()
if(VESK_WAYLAND_LIBS_FOUND)
    enable_language(C)
    file(GLOB _vesk_wayland_protocols CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/wayland/protocols/*.xml)
    set(_vesk_generated ${CMAKE_CURRENT_BINARY_DIR}/wayland-protocols)
    set(_vesk_generated_code "")
    file(MAKE_DIRECTORY ${_vesk_generated})
    foreach(xml IN LISTS _vesk_wayland_protocols)
        get_filename_component(name ${xml} NAME_WE)
        add_custom_command(OUTPUT ${_vesk_generated}/${name}-client.h ${_vesk_generated}/${name}.c
                           COMMAND ${WAYLAND_SCANNER} client-header ${xml} ${_vesk_generated}/${name}-client.h
                           COMMAND ${WAYLAND_SCANNER} private-code ${xml} ${_vesk_generated}/${name}.c
                           DEPENDS ${xml} VERBATIM)
        list(APPEND _vesk_generated_code ${_vesk_generated}/${name}-client.h ${_vesk_generated}/${name}.c)
    endforeach()
    # The generated C is the scanner's, built without the project's C++ warnings.
    add_library(vesk_wayland_protocols OBJECT ${_vesk_generated_code})
    target_link_libraries(vesk_wayland_protocols PUBLIC PkgConfig::VESK_WAYLAND_LIBS)
    target_include_directories(vesk_wayland_protocols PUBLIC ${_vesk_generated})
    vesk_platform_backend(Wayland wayland vesk_wayland_protocols Qt6::DBus)
endif()

find_package(X11 COMPONENTS Xtst Xfixes)
if(X11_FOUND AND X11_Xtst_FOUND AND X11_Xfixes_FOUND)
    vesk_platform_backend(X11 x11 X11::X11 X11::Xtst X11::Xfixes)
endif()

set(VESK_PLATFORM_GENERATED ${CMAKE_CURRENT_BINARY_DIR}/generated)
configure_file(${CMAKE_CURRENT_LIST_DIR}/PlatformBackEnds.h.in
               ${VESK_PLATFORM_GENERATED}/app/platform/PlatformBackEnds.h @ONLY)

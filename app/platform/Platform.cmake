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

find_package(X11 COMPONENTS Xtst Xfixes)
if(X11_FOUND AND X11_Xtst_FOUND AND X11_Xfixes_FOUND)
    vesk_platform_backend(X11 x11 X11::X11 X11::Xtst X11::Xfixes)
endif()

set(VESK_PLATFORM_GENERATED ${CMAKE_CURRENT_BINARY_DIR}/generated)
configure_file(${CMAKE_CURRENT_LIST_DIR}/PlatformBackEnds.h.in
               ${VESK_PLATFORM_GENERATED}/app/platform/PlatformBackEnds.h @ONLY)

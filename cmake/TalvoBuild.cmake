# How every target of the project is compiled and linked: one interface target carries the warnings, the
# sanitizers and the hidden visibility; talvo_library makes a shared library from an object library, so that
# tests can link the objects and reach what the library does not export.

add_library(talvo_options INTERFACE)
target_compile_features(talvo_options INTERFACE cxx_std_20 c_std_11)
target_compile_options(
  talvo_options
  INTERFACE -Wall
            -Wextra
            -Wpedantic
            -Wshadow
            -Wconversion
            $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
            $<$<BOOL:${TALVO_WARNINGS_AS_ERRORS}>:-Werror>
            -fno-semantic-interposition
            -fstack-protector-strong)
target_compile_definitions(
  talvo_options INTERFACE $<$<BOOL:${TALVO_FAULT_HOOKS}>:TALVO_FAULT_HOOKS>
                          $<$<CONFIG:Release,RelWithDebInfo>:_FORTIFY_SOURCE=2>)
target_link_options(talvo_options INTERFACE -Wl,--as-needed -Wl,-z,relro -Wl,-z,now)

if(TALVO_SANITIZE)
  set(sanitize -fsanitize=${TALVO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_options(talvo_options INTERFACE ${sanitize})
  target_link_options(talvo_options INTERFACE ${sanitize})
endif()

# clang's sanitizer runtime is linked into programs only, so its shared libraries keep undefined symbols.
if(TALVO_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES Clang)
  set(talvo_defs)
else()
  set(talvo_defs -Wl,-z,defs)
endif()

# talvo_library(NAME MAP file SOURCES ... LINK ... BELOW ...)
#
# Makes NAME_objects and the shared library NAME from it. LINK holds foreign libraries that the sources need,
# BELOW the libraries of ours that the public header builds on. Without sources there is no target at all.
function(talvo_library name)
  cmake_parse_arguments(arg "" "MAP" "SOURCES;LINK;BELOW" ${ARGN})
  if(NOT arg_SOURCES)
    message(STATUS "${name}: no sources")
    return()
  endif()

  set(below)
  foreach(library IN LISTS arg_BELOW)
    if(TARGET ${library})
      list(APPEND below ${library})
    endif()
  endforeach()

  add_library(${name}_objects OBJECT ${arg_SOURCES})
  set_target_properties(
    ${name}_objects
    PROPERTIES POSITION_INDEPENDENT_CODE ON
               C_VISIBILITY_PRESET hidden
               CXX_VISIBILITY_PRESET hidden
               VISIBILITY_INLINES_HIDDEN ON)
  target_include_directories(${name}_objects PUBLIC ${PROJECT_SOURCE_DIR}/include
                                                    ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name}_objects PUBLIC talvo_options ${arg_LINK})

  add_library(${name} SHARED)
  add_library(TalvoXml::${name} ALIAS ${name})
  set_target_properties(
    ${name}
    PROPERTIES VERSION ${PROJECT_VERSION}
               SOVERSION ${PROJECT_VERSION_MAJOR}
               LINKER_LANGUAGE CXX
               LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
  # The objects alone: their include folders and options are nothing for the users of the library.
  target_sources(${name} PRIVATE $<TARGET_OBJECTS:${name}_objects>)
  target_link_libraries(${name} PRIVATE talvo_options ${arg_LINK} PUBLIC ${below})
  target_include_directories(
    ${name} INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                      $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_options(${name} PRIVATE ${talvo_defs})
  if(EXISTS ${PROJECT_SOURCE_DIR}/${arg_MAP})
    target_link_options(${name} PRIVATE
                        -Wl,--version-script=${PROJECT_SOURCE_DIR}/${arg_MAP})
    set_target_properties(${name} PROPERTIES LINK_DEPENDS ${PROJECT_SOURCE_DIR}/${arg_MAP})
  endif()
endfunction()

# talvo_sources(VARIABLE glob ...) collects sources below the project; adding a file is enough to build it.
function(talvo_sources variable)
  list(TRANSFORM ARGN PREPEND ${PROJECT_SOURCE_DIR}/ OUTPUT_VARIABLE globs)
  file(GLOB_RECURSE files CONFIGURE_DEPENDS LIST_DIRECTORIES false ${globs})
  set(${variable} ${files} PARENT_SCOPE)
endfunction()

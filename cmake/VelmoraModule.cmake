# The modules of src/ and the layers they form. A module includes only the modules below it:
#
#   base                                    (below everything)
#   store, zip, speech, samples
#   enhanced
#   selftest                                (its enhanced self test drives the installer)
#   presenters
#   app, cli                                (on top)
#
# and the extension uses base and store only. scripts/check-layers enforces the order on every
# include; the include roots below make the build enforce what each target links.

# velmora_include_root(<target> <name> <folder>)
#
# Gives <target> an include root of its own in the build tree that holds only <name>/, a link to
# <folder>, so "<name>/Header.h" finds the headers of <folder> and nothing else is reachable
# through it. Users of <target> get the root with it.
function(velmora_include_root target name folder)
  set(root ${CMAKE_BINARY_DIR}/include/${name})
  file(MAKE_DIRECTORY ${root})
  file(CREATE_LINK ${folder} ${root}/${name} SYMBOLIC)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "INTERFACE_LIBRARY")
    target_include_directories(${target} INTERFACE ${root})
  else()
    target_include_directories(${target} PUBLIC ${root})
  endif()
endfunction()

# velmora_add_module(<module> [USES <module>...] [SOURCES <source>...])
#
# Declares the library velmora_<module> of the module in the current folder (src/<module>), from
# SOURCES (an interface library when there are none). Its headers are included as
# "<module>/Header.h", by itself and by the targets that link it, and by no other: a file that
# includes a module its target does not link fails to compile. USES names the lower modules it
# builds on; they are linked PUBLIC, so its own headers may include theirs. Third-party
# libraries are linked as usual with target_link_libraries(velmora_<module> ...).
#
# A new module (src/presenters, say) needs a folder, a place in the layer list of
# scripts/check-layers, and one call:
#   velmora_add_module(presenters USES base store speech SOURCES VoiceListPresenter.cpp)
function(velmora_add_module module)
  cmake_parse_arguments(ARG "" "" "USES;SOURCES" ${ARGN})
  set(target velmora_${module})
  if(ARG_SOURCES)
    add_library(${target} STATIC ${ARG_SOURCES})
    set(scope PUBLIC)
  else()
    add_library(${target} INTERFACE)
    set(scope INTERFACE)
  endif()
  velmora_include_root(${target} ${module} ${CMAKE_CURRENT_SOURCE_DIR})
  foreach(used IN LISTS ARG_USES)
    target_link_libraries(${target} ${scope} velmora_${used})
  endforeach()
endfunction()

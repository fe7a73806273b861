# The library core is built as layers, one target each. A layer's sources see only its
# own headers and those of the layers it links, each through a directory of links to
# exactly the headers that layer publishes, so an include against the direction of
# the layers fails to compile.
#
# quil_add_layer(NAME DIR folder [SOURCES file...] [HEADERS file...] [LINKS target...])
#   SOURCES and HEADERS are names within DIR. Without HEADERS, every header of DIR is
#   published; without SOURCES the layer is headers only. LINKS are what the layer may
#   use; whoever links the layer may use them too.
function(quil_add_layer name)
  cmake_parse_arguments(PARSE_ARGV 1 layer "" "DIR" "SOURCES;HEADERS;LINKS")
  set(dir ${PROJECT_SOURCE_DIR}/${layer_DIR})
  if(NOT layer_HEADERS)
    file(GLOB layer_HEADERS RELATIVE ${dir} CONFIGURE_DEPENDS ${dir}/*.h)
  endif()
  set(published ${CMAKE_BINARY_DIR}/layers/${name})
  file(REMOVE_RECURSE ${published})
  file(MAKE_DIRECTORY ${published})
  foreach(header ${layer_HEADERS})
    file(CREATE_LINK ${dir}/${header} ${published}/${header} SYMBOLIC)
  endforeach()

  if(layer_SOURCES)
    list(TRANSFORM layer_SOURCES PREPEND ${dir}/)
    add_library(${name} OBJECT ${layer_SOURCES})
    target_include_directories(${name} PUBLIC ${published})
    target_link_libraries(${name} PUBLIC ${layer_LINKS} PRIVATE quil_warnings)
    set_target_properties(${name} PROPERTIES CXX_VISIBILITY_PRESET hidden
                                             VISIBILITY_INLINES_HIDDEN ON)
    set_property(GLOBAL APPEND PROPERTY QUIL_CORE_OBJECT_LAYERS ${name})
  else()
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${published})
    target_link_libraries(${name} INTERFACE ${layer_LINKS})
  endif()
endfunction()

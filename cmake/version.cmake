# Sets q32base_version to what include/q32base/version.h says, the one place where it stands.
set(q32base_version_header "${CMAKE_CURRENT_SOURCE_DIR}/include/q32base/version.h")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${q32base_version_header}")
file(STRINGS "${q32base_version_header}" q32base_version REGEX "^#define Q32BASE_VERSION_(MAJOR|MINOR|PATCH) [0-9]+$")
list(TRANSFORM q32base_version REPLACE "^.* " "")
list(JOIN q32base_version "." q32base_version)

# q32_version_resource(FILE): a resource script that says the version. Its compiler does not tell Ninja
# which headers it has read.
function(q32_version_resource file)
  set_source_files_properties("${file}" PROPERTIES OBJECT_DEPENDS "${q32base_version_header}")
endfunction()

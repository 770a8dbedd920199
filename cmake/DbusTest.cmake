# velmora_session_config(<file> <service dir>...)
#
# Writes the configuration of a private session bus that activates the D-Bus services found in
# the given folders.
function(velmora_session_config file)
  set(service_dirs "")
  foreach(dir IN LISTS ARGN)
    string(APPEND service_dirs "  <servicedir>${dir}</servicedir>\n")
  endforeach()
  file(WRITE ${file}
"<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"
 \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">
<busconfig>
  <type>session</type>
  <listen>unix:tmpdir=/tmp</listen>
  <auth>EXTERNAL</auth>
${service_dirs}  <policy context=\"default\">
    <allow send_destination=\"*\" eavesdrop=\"true\"/>
    <allow eavesdrop=\"true\"/>
    <allow own=\"*\"/>
  </policy>
</busconfig>
")
endfunction()

# velmora_add_dbus_test(NAME <test> COMMAND <target> [SERVICE_DIRS <dir>...] [TIMEOUT <s>])
#
# Adds a test that runs <target> inside a private session bus of its own (dbus-run-session),
# whose configuration activates the D-Bus services found in SERVICE_DIRS. The bus, and every
# service it started, ends with the test.
function(velmora_add_dbus_test)
  cmake_parse_arguments(ARG "" "NAME;COMMAND;TIMEOUT" "SERVICE_DIRS" ${ARGN})
  set(config ${CMAKE_CURRENT_BINARY_DIR}/${ARG_NAME}-session.conf)
  velmora_session_config(${config} ${ARG_SERVICE_DIRS})
  add_test(NAME ${ARG_NAME}
           COMMAND dbus-run-session --config-file=${config} -- $<TARGET_FILE:${ARG_COMMAND}>)
  if(ARG_TIMEOUT)
    set_tests_properties(${ARG_NAME} PROPERTIES TIMEOUT ${ARG_TIMEOUT})
  endif()
endfunction()

# velmora_add_dbus_test(NAME <test> COMMAND <target> [SERVICE_DIRS <dir>...] [TIMEOUT <s>])
#
# Adds a test that runs <target> inside a private session bus of its own (dbus-run-session),
# whose configuration activates the D-Bus services found in SERVICE_DIRS. The bus, and every
# service it started, ends with the test.
function(velmora_add_dbus_test)
  cmake_parse_arguments(ARG "" "NAME;COMMAND;TIMEOUT" "SERVICE_DIRS" ${ARGN})
  set(service_dirs "")
  foreach(dir IN LISTS ARG_SERVICE_DIRS)
    string(APPEND service_dirs "  <servicedir>${dir}</servicedir>\n")
  endforeach()
  set(config ${CMAKE_CURRENT_BINARY_DIR}/${ARG_NAME}-session.conf)
  file(WRITE ${config}
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
  add_test(NAME ${ARG_NAME}
           COMMAND dbus-run-session --config-file=${config} -- $<TARGET_FILE:${ARG_COMMAND}>)
  if(ARG_TIMEOUT)
    set_tests_properties(${ARG_NAME} PROPERTIES TIMEOUT ${ARG_TIMEOUT})
  endif()
endfunction()

# velmora_install_configured(<template> <destination>)
#
# Installs <template> (without its ".in") into <destination> below the install prefix, with
# @VELMORA_BUNDLE@, @VELMORA_EXEC@ and @VELMORA_PROVIDER_EXEC@ replaced by the installed paths.
# The paths are filled in when `cmake --install` runs, so `--prefix` is honoured, as is DESTDIR
# (the files name the final paths, not the staging ones).
function(velmora_install_configured template destination)
  get_filename_component(name ${template} NAME)
  string(REGEX REPLACE "\\.in$" "" name ${name})
  set(staged ${CMAKE_CURRENT_BINARY_DIR}/installed/${name})
  install(CODE "
    set(VELMORA_BUNDLE \"\${CMAKE_INSTALL_PREFIX}/${VELMORA_INSTALL_BUNDLE_DIR}\")
    set(VELMORA_EXEC \"\${VELMORA_BUNDLE}/velmora\")
    set(VELMORA_PROVIDER_EXEC \"\${VELMORA_BUNDLE}/PlugIns/VelmoraVoice.appex/VelmoraVoice\")
    configure_file(\"${template}\" \"${staged}\" @ONLY)
    file(INSTALL \"${staged}\" DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${destination}\")
  ")
endfunction()

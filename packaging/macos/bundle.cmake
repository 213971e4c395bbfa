# Makes a program the main one of Halvercine.app. What the bundle holds is in README.md beside this file.
set(HALVERCINE_BUILD_NUMBER ${PROJECT_VERSION} CACHE STRING
  "CFBundleVersion: grows with every build that is given away, since the helper is replaced when it changes")

function(halvercine_make_bundle target)
  set(packaging ${PROJECT_SOURCE_DIR}/packaging/macos)
  set_target_properties(${target} PROPERTIES
    MACOSX_BUNDLE ON
    OUTPUT_NAME Halvercine
    MACOSX_BUNDLE_INFO_PLIST ${packaging}/Info.plist.in)

  set(daemon ${packaging}/com.halvercine.app.authhelper.plist)
  target_sources(${target} PRIVATE ${daemon})
  set_source_files_properties(${daemon} PROPERTIES MACOSX_PACKAGE_LOCATION Library/LaunchDaemons)
  foreach(language en zh-Hans)
    set(strings ${packaging}/${language}.lproj/InfoPlist.strings)
    target_sources(${target} PRIVATE ${strings})
    set_source_files_properties(${strings} PROPERTIES
      MACOSX_PACKAGE_LOCATION Resources/${language}.lproj)
  endforeach()
endfunction()

# What a build for Windows has beside that for Linux: its libraries, which libraries.sh makes, and its linking.
enable_language(RC)

execute_process(
  COMMAND ${CMAKE_CURRENT_LIST_DIR}/libraries.sh --where ${ZELKOR_TRIPLE}
  OUTPUT_VARIABLE places OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "Build the libraries first: cmake/windows/libraries.sh ${ZELKOR_TRIPLE}")
endif()
string(REPLACE "\n" ";" places "${places}")
# What was found in other places before is not looked for again otherwise.
if(NOT "${places}" STREQUAL "${ZELKOR_WINDOWS_PLACES}")
  foreach(found CURL_DIR GTest_DIR OPENSSL_INCLUDE_DIR LIB_EAY SSL_EAY)
    unset(${found} CACHE)
  endforeach()
  set(ZELKOR_WINDOWS_PLACES "${places}" CACHE INTERNAL "where the libraries are")
endif()
foreach(entry IN LISTS places)
  string(REGEX MATCH "^([a-z]+)=(.*)$" entry "${entry}")
  set(library ${CMAKE_MATCH_1})
  # A folder may be a link to where the library says that it is.
  get_filename_component(place ${CMAKE_MATCH_2} REALPATH)
  list(APPEND CMAKE_FIND_ROOT_PATH ${place})
  list(APPEND present ${library})
  if(library STREQUAL "wxwidgets")
    file(GLOB wxWidgets_CONFIG_EXECUTABLE ${place}/bin/wx-config)
  elseif(library STREQUAL "openssl")
    set(OPENSSL_ROOT_DIR ${place})
    set(OPENSSL_USE_STATIC_LIBS ON)
  endif()
endforeach()

# Who only wants the programs does not need the tests' library.
if(NOT googletest IN_LIST present)
  message(STATUS "There are no tests without their library: cmake/windows/libraries.sh --tests ${ZELKOR_TRIPLE}")
  set(BUILD_TESTING OFF)
endif()

# Programs that need nothing but the system: no run-time library has to be installed with them. What nobody calls is left
# out. The stack may not be run, and addresses are the system's choice.
add_link_options(-static -static-libgcc -static-libstdc++ -Wl,--gc-sections -Wl,--nxcompat -Wl,--dynamicbase)
add_compile_options(-ffunction-sections -fdata-sections)
# No path of this machine in the programs.
get_filename_component(kept ${CMAKE_CURRENT_LIST_DIR}/../.. ABSOLUTE)
add_compile_options(-ffile-prefix-map=${kept}=.)
foreach(place IN LISTS CMAKE_FIND_ROOT_PATH)
  # Without the library's own name, or another build of one would have everything compiled again.
  get_filename_component(place ${place} DIRECTORY)
  list(APPEND kept_places -ffile-prefix-map=${place}=)
endforeach()
list(REMOVE_DUPLICATES kept_places)
add_compile_options(${kept_places})
# Windows 7 and later; the names min and max are the standard library's.
add_compile_definitions(_WIN32_WINNT=0x0601 NOMINMAX)

# The test programs that are built for Windows too; the others use what only Linux has.
set(ZELKOR_WINDOWS_TESTS lib_test db_test net_test sync_test app_test vandry_test gui_test db_gui_test app_gui_test
    net_gui_test)
add_custom_target(windows_tests)

# Which tests of a test program run; empty: all.
# A name with a colon, the keys and paths of another system's choice of a file, a panel of the X display: not of Windows.
# The notification area can not be taken away. How fast Wine fills a list says nothing about Windows.
set(ZELKOR_WINDOWS_app_gui_test
  -WindowUserTest.BeginsAChoiceInTheHomeFolderWhenNoFolderIsGiven
  WindowUserTest.SaysWhyAChosenFileCanNotBeUsed
  MwPlace.ShowsItsStatusLineAboveThePanelsOfTheDesktopAtFirst
  MwTray.WithoutATrayTheWindowStaysAndTheStatusLineSaysSo
  MwSpeed.FillsTheListInUnder300MillisecondsInEveryView)
# Paths of Linux. Wine's choice of a folder takes neither a title nor a typed path, and the access key of a caption does
# not lead to the control behind it. How fast Wine adds lines says nothing either.
set(ZELKOR_WINDOWS_net_gui_test
  -SyncWindow.ANativeFolderBecomesOneOfTheProgramWhenItsBoxIsLeft
  SyncWindow.BrowsingCancelledLeavesTheFolder
  SyncWindow.BrowsingTakesThePickedFolder
  SyncWindow.EveryControlHasItsAccessKey
  LogWindowTest.StaysQuickAtAHundredThousandLines)
# Wine ends a connection in good order that is to be broken.
set(ZELKOR_WINDOWS_lib_test "-Sockets.SayWhatBrokeAConnection")
# Wine knows of locks on parts of files, but reads them all the same.
set(ZELKOR_WINDOWS_sync_test "-Folder.AFileThatCanNotBeReadIsToldApart")
# Which run with nothing beside them: under Wine, beside other tests, a line is worse than the one that is played.
set(ZELKOR_WINDOWS_ALONE_vandry_test "BadLines.*")
# What Wine starts for a folder holds up the conversations that begin in the seconds after it.
set(ZELKOR_WINDOWS_net_test "-Diagnostics.OpenAMediumInTheFileManagerWithoutAMessage")
set(ZELKOR_WINDOWS_db_gui_test "-FrmItemTest.TurnsANativePathIntoTheFormWhenTheFieldIsLeft")

# Which tests of the whole program from outside are not run for Windows (tests/support/windows/CMakeLists.txt). First those
# that make faults below the program, by a library that only Linux programs can be given, or stop and interrupt it.
set(ZELKOR_WINDOWS_NOT_FROM_OUTSIDE
  Conversion.KilledAtAnyCallNeverConvertsTwiceAndGoesOn Conversion.FailedAtAnyCallLeavesTheOldDatabaseOrTheNewOne
  Crash.* FullDisk.* Interrupt.*
  DamagedSyncFile.ThatCanNotBeReadEndsTheProgramToo
  Exchange.TheLaterOfTwoChangesWins Exchange.AnItemEditedWithoutAFileChangeStaysAsItIsThere
  ExportDate.FollowsTheClockInLocalTime ExportDate.IsTheStartOfTheHourThatComesTwice
  ExportDate.AnAutoItemsFileGoesOutOnceAndAgainAfterAChange ExportDate.IsKeptWhenAFileStayedBehindThatCouldNotBeOpened
  ExportDate.IsLeftUnchangedByAFailedDelivery ExportDate.IsTheRunsStartWhenAFileChangedWhileItRan
  Export.AFileThatCanNotBeOpenedIsLoggedAndTheOthersGoOut Export.AFileThatCanNotBeReadIsLeftOutWholly
  Export.AFileThatChangesWhileItIsReadIsNeverTorn Export.InterruptedAndShortTransfersAreCarriedOn
  Export.SaysThatATemporaryFileCanNotBeWritten
  Import.ALocalFileThatCanNotBeDatedStaysUntouched Import.AFileWhoseTimesCanNotBeSetIsAnError
  Import.ShortAndInterruptedTransfersAreCarriedOn
  LogAndHistory.HoldEachLineAsSoonAsItIsWritten LogAndHistory.AFailureToWriteThemDoesNotStopARun
  Names.ThatAnotherComputerTakesMeanwhileAreNotReplaced Names.OfFilesStillBeingWrittenAreNotTakenByAnImport
  Names.AFileThatWasNotTakenWhollyStays Names.AFileThatCanNotBeDeletedIsImportedAllTheSame
  Remapping.ATableThatCanNotBeReadEndsTheRunInsteadOfSendingLocalPaths
  Unattended.ACopyThatWasKilledDoesNotKeepOthersOut Unattended.AReaderOfTheOutputThatGoesAwayDoesNotStopTheRun
  */Spanning.ADiskPulledWhileItIsWrittenFailsTheDelivery/* */Spanning.ADiskThatCanNotBeReadFailsTheImport/*
  # Files have no modes; the temporary folder is Wine's; the link is DDE, whose other end is no program of Linux.
  Import.KeepsTheModeOfAFileItReplaces LogAndHistory.AreOfTheirOwnersOnly
  Unattended.ATemporaryFolderThatIsMissingIsSaid NetworkRun.* FtpRun.*
  # Wine keeps no creation times.
  Exchange.CreationTimesTravel
  # There is a display for DDE, so without a synchronisation the main window comes.
  Unattended.WithoutASynchronisationNothingIsDone FiltersOfTheCommandLine.ManyWordsAreTooMany
  # What takes minutes and gigabytes.
  DamagedSyncFile.WithABitFlippedAnywhereDoesNoHarm BigFiles.*)

set(ZELKOR_WINDOWS_RUN ${CMAKE_CURRENT_LIST_DIR}/wine.sh)
if(ZELKOR_TRIPLE MATCHES "^i686")
  set(ZELKOR_WINDOWS_RUN ${CMAKE_CURRENT_LIST_DIR}/wine32.sh)
endif()

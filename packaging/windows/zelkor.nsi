; The installer of Zelkor for Windows, made by installer.sh, which defines
;   VERSION     the program's version
;   BITS        64 or 32
;   PROGRAMS    the folder with zelkor.exe, Vandry.exe and zelkor.hlp
;   DOCUMENTS   the folder with the files to read
;   OUTPUT      the installer's own name
; It installs for one user, without asking for an administrator: Zelkor keeps its catalogue beside the program.
; /S installs silently, /D=FOLDER (last, without quotes) says where.

!if ${BITS} == 64
  Target amd64-unicode
!else
  Target x86-unicode
!endif
ManifestDPIAware true
ManifestSupportedOS Win7 Win8 Win8.1 Win10
SetCompressor /SOLID lzma
RequestExecutionLevel user

!include MUI2.nsh
!include LogicLib.nsh
!include FileFunc.nsh
!include x64.nsh

!define UNINSTALL "Software\Microsoft\Windows\CurrentVersion\Uninstall\Zelkor"
!define CLASSES "Software\Classes"
!define SYNC_FILE "Zelkor.SyncFile"
!define SHCNE_ASSOCCHANGED 0x08000000

Name "Zelkor"
OutFile "${OUTPUT}"
InstallDir "$LOCALAPPDATA\Programs\Zelkor"
InstallDirRegKey HKCU "${UNINSTALL}" "InstallLocation"
VIProductVersion "${VERSION}.0.0"
VIAddVersionKey "ProductName" "Zelkor"
VIAddVersionKey "FileDescription" "Installs Zelkor"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "LegalCopyright" ""

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_ABORTWARNING
!define MUI_FINISHPAGE_RUN "$INSTDIR\zelkor.exe"
!define MUI_FINISHPAGE_RUN_TEXT "Start Zelkor"
!define MUI_FINISHPAGE_NOREBOOTSUPPORT
!insertmacro MUI_PAGE_WELCOME
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

; A program that runs cannot be replaced or deleted. "Retry" looks again; a silent run ends with status 2.
!macro WaitUntilEnded UN
  Function ${UN}WaitUntilEnded
    ${Do}
      StrCpy $0 ""
      ${If} ${FileExists} "$INSTDIR\zelkor.exe"
        ClearErrors
        FileOpen $1 "$INSTDIR\zelkor.exe" a
        ${If} ${Errors}
          StrCpy $0 "Zelkor"
        ${Else}
          FileClose $1
        ${EndIf}
      ${EndIf}
      ${If} ${FileExists} "$INSTDIR\Vandry.exe"
        ClearErrors
        FileOpen $1 "$INSTDIR\Vandry.exe" a
        ${If} ${Errors}
          StrCpy $0 "Vandry"
        ${Else}
          FileClose $1
        ${EndIf}
      ${EndIf}
      ${If} $0 == ""
        ${Break}
      ${EndIf}
      MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "$0 is running, or its file can not be written. End it first." /SD IDCANCEL IDRETRY +3
      SetErrorLevel 2
      Abort "$0 is running."
    ${Loop}
  FunctionEnd
!macroend
!insertmacro WaitUntilEnded ""
!insertmacro WaitUntilEnded "un."

!macro TellShell
  System::Call "shell32::SHChangeNotify(i ${SHCNE_ASSOCCHANGED}, i 0, p 0, p 0)"
!macroend

Function .onInit
  SetShellVarContext current
!if ${BITS} == 64
  ${IfNot} ${RunningX64}
    MessageBox MB_OK|MB_ICONSTOP "This is Zelkor for 64-bit Windows; there is one for 32-bit Windows too." /SD IDOK
    SetErrorLevel 2
    Abort
  ${EndIf}
!endif
FunctionEnd

Section
  Call WaitUntilEnded
  SetOutPath "$INSTDIR"
  File "${PROGRAMS}\zelkor.exe"
  File "${PROGRAMS}\Vandry.exe"
  File "${PROGRAMS}\zelkor.hlp"
  File "/oname=LICENSE.txt" "${DOCUMENTS}\LICENSE"
  WriteUninstaller "$INSTDIR\uninstall.exe"

  ; The working folder of what is started from a shortcut is the user's documents.
  SetOutPath "$DOCUMENTS"
  CreateShortcut "$SMPROGRAMS\Zelkor.lnk" "$INSTDIR\zelkor.exe" "" "$INSTDIR\zelkor.exe" 0 SW_SHOWNORMAL "" "Keeps files in step between computers"
  SetOutPath "$INSTDIR"

  WriteRegStr HKCU "${CLASSES}\${SYNC_FILE}" "" "Zelkor sync file"
  WriteRegStr HKCU "${CLASSES}\${SYNC_FILE}\DefaultIcon" "" "$INSTDIR\zelkor.exe,1"
  WriteRegStr HKCU "${CLASSES}\${SYNC_FILE}\shell\open\command" "" '"$INSTDIR\zelkor.exe" "%1"'
  ReadRegStr $0 HKCU "${CLASSES}\.cas" ""
  ${If} $0 != "${SYNC_FILE}"
    WriteRegStr HKCU "${CLASSES}\${SYNC_FILE}" "Before" "$0"
    WriteRegStr HKCU "${CLASSES}\.cas" "" "${SYNC_FILE}"
  ${EndIf}
  WriteRegStr HKCU "${CLASSES}\.cas\OpenWithProgids" "${SYNC_FILE}" ""

  WriteRegStr HKCU "${UNINSTALL}" "DisplayName" "Zelkor"
  WriteRegStr HKCU "${UNINSTALL}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKCU "${UNINSTALL}" "DisplayIcon" "$INSTDIR\zelkor.exe,0"
  WriteRegStr HKCU "${UNINSTALL}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKCU "${UNINSTALL}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKCU "${UNINSTALL}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKCU "${UNINSTALL}" "NoModify" 1
  WriteRegDWORD HKCU "${UNINSTALL}" "NoRepair" 1
  ${GetSize} "$INSTDIR" "/M=*.exe /S=0K" $0 $1 $2
  WriteRegDWORD HKCU "${UNINSTALL}" "EstimatedSize" "$0"
  !insertmacro TellShell
SectionEnd

Function un.onInit
  SetShellVarContext current
FunctionEnd

; Only what was installed goes. The catalogue, logs and received files stay, and with them the folder.
Section "Uninstall"
  Call un.WaitUntilEnded
  Delete "$INSTDIR\zelkor.exe"
  Delete "$INSTDIR\Vandry.exe"
  Delete "$INSTDIR\zelkor.hlp"
  Delete "$INSTDIR\LICENSE.txt"
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR"
  Delete "$SMPROGRAMS\Zelkor.lnk"

  ; Sync files belong again to whom they belonged before, unless somebody else has them by now.
  ReadRegStr $0 HKCU "${CLASSES}\.cas" ""
  ${If} $0 == "${SYNC_FILE}"
    ReadRegStr $1 HKCU "${CLASSES}\${SYNC_FILE}" "Before"
    ${If} $1 == ""
      DeleteRegValue HKCU "${CLASSES}\.cas" ""
    ${Else}
      WriteRegStr HKCU "${CLASSES}\.cas" "" "$1"
    ${EndIf}
  ${EndIf}
  DeleteRegValue HKCU "${CLASSES}\.cas\OpenWithProgids" "${SYNC_FILE}"
  DeleteRegKey /ifempty HKCU "${CLASSES}\.cas\OpenWithProgids"
  ${If} $0 == "${SYNC_FILE}"
  ${AndIf} $1 == ""
    DeleteRegKey /ifempty HKCU "${CLASSES}\.cas"
  ${EndIf}
  DeleteRegKey HKCU "${CLASSES}\${SYNC_FILE}"
  DeleteRegKey HKCU "${UNINSTALL}"
  !insertmacro TellShell
SectionEnd

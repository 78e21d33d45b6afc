; The Windows installer of the browser plug-in. make.sh calls makensis and gives VERSION, FILES (the folder with what is
; to be installed), SIZE (its kilobytes) and OUTPUT.
;
; An administrator installs for all users, anybody else for themselves; /AllUsers and /CurrentUser say otherwise.
; /S asks and shows nothing, /D=folder (last, without quotes) chooses the folder.
;
; Ends with 0; 1 when the user cancelled; else with the platform's number of what went wrong, and one line on standard
; output when silent:
;    5  the rights of an administrator are needed
;   29  the files or the registry could not be written
;   32  the plug-in is in use by a running browser
;   87  both /AllUsers and /CurrentUser
; Whatever goes wrong, an older plug-in stays whole, and nothing new is left behind.

Unicode true
SetCompressor /SOLID lzma
Name "Vemtrel CertEnroll"
BrandingText "Vemtrel CertEnroll ${VERSION}"
OutFile "${OUTPUT}"
RequestExecutionLevel highest
ManifestSupportedOS all
ManifestDPIAware true
XPStyle on

!include MUI2.nsh
!include LogicLib.nsh
!include FileFunc.nsh

!define PLUGIN npvemtrel_certenroll.dll
!define PLUGINS_KEY "Software\MozillaPlugins"
!define PLUGIN_KEY "${PLUGINS_KEY}\@vemtrel/CertEnroll"
!define MIME_TYPE "application/npvemtrel_certenroll"
!define DESCRIPTION "NPVemtrelCertEnroll scriptability API plugin"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Vemtrel CertEnroll"

!define ACCESS_DENIED 5
!define WRITE_FAULT 29
!define SHARING_VIOLATION 32
!define INVALID_PARAMETER 87

VIProductVersion "${VERSION}"
VIFileVersion "${VERSION}"
VIAddVersionKey ProductName "Vemtrel CertEnroll"
VIAddVersionKey ProductVersion "${VERSION}"
VIAddVersionKey FileVersion "${VERSION}"
VIAddVersionKey FileDescription "Installer of Vemtrel CertEnroll"
VIAddVersionKey CompanyName "Vemtrel"
VIAddVersionKey LegalCopyright "Apache License 2.0"

!insertmacro MUI_PAGE_LICENSE "${FILES}\LICENSE.txt"
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE English

Var previous  ; the folder of the version that this one replaces; empty when there is none, or it is the same folder
Var fresh     ; 1 when the folder holds no plug-in yet
Var made      ; 1 when this run makes the folder

; Ends with a code. A silent run says why on standard output, which a program without a console must look for.
!macro fail code text
    SetErrorLevel ${code}
    ${If} ${Silent}
        System::Call 'kernel32::GetStdHandle(i -11) p .r9'
        ${If} $9 P<= 0
            System::Call 'kernel32::AttachConsole(i -1)'
            System::Call 'kernel32::GetStdHandle(i -11) p .r9'
        ${EndIf}
        FileWrite $9 "${text}$\r$\n"
    ${Else}
        MessageBox MB_OK|MB_ICONSTOP "${text}"
    ${EndIf}
    Abort
!macroend

; $0 becomes the reason why a file could not be replaced or deleted now; 0 when it could, or is not there. The loader
; refuses to have a file written that a process runs.
!macro ask_whether_free file
    StrCpy $0 0
    ${If} ${FileExists} "${file}"
        System::Call 'kernel32::CreateFile(t "${file}", i 0x40000000, i 7, p 0, i 3, i 0, p 0) p .r1 ?e'
        Pop $0
        ${If} $1 P<> -1
            System::Call 'kernel32::CloseHandle(p r1)'
            StrCpy $0 0
        ${EndIf}
    ${EndIf}
!macroend

!macro fail_unless_free file
    !insertmacro ask_whether_free "${file}"
    ${If} $0 = ${SHARING_VIOLATION}
        !insertmacro fail ${SHARING_VIOLATION} "The plug-in is in use. Close all browsers and try again: ${file}"
    ${ElseIf} $0 <> 0
        !insertmacro fail $0 "This file may not be changed (error $0 of Windows): ${file}"
    ${EndIf}
!macroend

!macro delete_files folder suffix
    Delete "${folder}\${PLUGIN}${suffix}"
    Delete "${folder}\LICENSE.txt${suffix}"
    Delete "${folder}\README.txt${suffix}"
    Delete "${folder}\uninstall.exe${suffix}"
!macroend

; A folder with files of others stays.
!macro delete_folder folder
    SetOutPath "$TEMP"
    RMDir "${folder}"
!macroend

!macro undo
    !insertmacro delete_files "$INSTDIR" ".new"
    ${If} $fresh = 1
        !insertmacro delete_files "$INSTDIR" ""
    ${EndIf}
    ${If} $made = 1
        !insertmacro delete_folder "$INSTDIR"
    ${EndIf}
!macroend

; Puts a staged file in the place of the old one, in one step.
!macro commit name
    System::Call 'kernel32::MoveFileEx(t "$INSTDIR\${name}.new", t "$INSTDIR\${name}", i 1) i .r0'
    ${If} $0 = 0
        SetErrors
    ${EndIf}
!macroend

; SHCTX is HKEY_LOCAL_MACHINE for all users and HKEY_CURRENT_USER for one.
Function .onInit
    ${GetParameters} $R0
    ClearErrors
    ${GetOptions} $R0 "/AllUsers" $R1
    ${If} ${Errors}
        StrCpy $R1 ""
    ${Else}
        StrCpy $R1 all
    ${EndIf}
    ClearErrors
    ${GetOptions} $R0 "/CurrentUser" $R2
    ${IfNot} ${Errors}
        ${If} $R1 == all
            !insertmacro fail ${INVALID_PARAMETER} "/AllUsers and /CurrentUser exclude each other."
        ${EndIf}
        StrCpy $R1 current
    ${EndIf}

    UserInfo::GetAccountType
    Pop $0
    ${If} $0 == Admin
        ${If} $R1 == ""
            StrCpy $R1 all
        ${EndIf}
    ${ElseIf} $R1 == all
        !insertmacro fail ${ACCESS_DENIED} "To install for all users takes the rights of an administrator."
    ${EndIf}

    ${If} $R1 == all
        SetShellVarContext all
        StrCpy $R3 "$PROGRAMFILES32\Vemtrel CertEnroll"
    ${Else}
        SetShellVarContext current
        StrCpy $R3 "$LOCALAPPDATA\Programs\Vemtrel CertEnroll"
    ${EndIf}
    ReadRegStr $previous SHCTX "${UNINSTALL_KEY}" InstallLocation
    ${If} $INSTDIR == ""
        StrCpy $INSTDIR "$previous"
        ${If} $INSTDIR == ""
            StrCpy $INSTDIR $R3
        ${EndIf}
    ${EndIf}
FunctionEnd

Function stageFiles
    ClearErrors
    CreateDirectory "$INSTDIR"
    SetOverwrite try
    File "/oname=$INSTDIR\${PLUGIN}.new" "${FILES}\${PLUGIN}"
    File "/oname=$INSTDIR\LICENSE.txt.new" "${FILES}\LICENSE.txt"
    File "/oname=$INSTDIR\README.txt.new" "${FILES}\README.txt"
    WriteUninstaller "$INSTDIR\uninstall.exe.new"
FunctionEnd

Function writeRegistry
    WriteRegStr SHCTX "${PLUGIN_KEY}" Path "$INSTDIR\${PLUGIN}"
    WriteRegStr SHCTX "${PLUGIN_KEY}" ProductName "Vemtrel CertEnroll"
    WriteRegStr SHCTX "${PLUGIN_KEY}" Vendor "Vemtrel"
    WriteRegStr SHCTX "${PLUGIN_KEY}" Description "${DESCRIPTION}"
    WriteRegStr SHCTX "${PLUGIN_KEY}" Version "${VERSION}"
    WriteRegStr SHCTX "${PLUGIN_KEY}\MimeTypes\${MIME_TYPE}" Description "${DESCRIPTION}"

    WriteRegStr SHCTX "${UNINSTALL_KEY}" DisplayName "Vemtrel CertEnroll"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" DisplayVersion "${VERSION}"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" Publisher "Vemtrel"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" InstallLocation "$INSTDIR"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" UninstallString '"$INSTDIR\uninstall.exe"'
    WriteRegStr SHCTX "${UNINSTALL_KEY}" QuietUninstallString '"$INSTDIR\uninstall.exe" /S'
    WriteRegDWORD SHCTX "${UNINSTALL_KEY}" EstimatedSize ${SIZE}
    WriteRegDWORD SHCTX "${UNINSTALL_KEY}" NoModify 1
    WriteRegDWORD SHCTX "${UNINSTALL_KEY}" NoRepair 1
FunctionEnd

Section
    StrCpy $fresh 1
    StrCpy $made 1
    ${If} ${FileExists} "$INSTDIR\*.*"
        StrCpy $made 0
    ${EndIf}
    ${If} ${FileExists} "$INSTDIR\${PLUGIN}"
        StrCpy $fresh 0
    ${EndIf}
    !insertmacro fail_unless_free "$INSTDIR\${PLUGIN}"
    ${If} $previous != ""
        !insertmacro fail_unless_free "$previous\${PLUGIN}"
    ${EndIf}

    ; Everything is written beside its place before the first old file goes.
    Call stageFiles
    ${If} ${Errors}
        !insertmacro undo
        !insertmacro fail ${WRITE_FAULT} "The files could not be written to $INSTDIR"
    ${EndIf}
    ; One folder may have two names; a staged file shows itself by both.
    ${If} ${FileExists} "$previous\${PLUGIN}.new"
        StrCpy $previous ""
    ${EndIf}

    !insertmacro commit LICENSE.txt
    !insertmacro commit README.txt
    !insertmacro commit uninstall.exe
    !insertmacro commit ${PLUGIN}
    ${IfNot} ${Errors}
        Call writeRegistry
    ${EndIf}
    ${If} ${Errors}
        !insertmacro undo
        !insertmacro fail ${WRITE_FAULT} "The plug-in could not be put in place and registered: $INSTDIR"
    ${EndIf}
    ${If} $previous != ""
        !insertmacro delete_files "$previous" ""
        !insertmacro delete_folder "$previous"
    ${EndIf}
SectionEnd

; As when a disk is full in the middle of a file.
Function .onInstFailed
    !insertmacro undo
FunctionEnd

; The plug-in that a registration names, if it is there; a folder may have two names, so that texts do not tell whether
; it is the one in this folder: it is if it is gone when this folder's is.
!macro registered_plugin root result
    ReadRegStr ${result} ${root} "${UNINSTALL_KEY}" InstallLocation
    StrCpy ${result} "${result}\${PLUGIN}"
    ${IfNot} ${FileExists} "${result}"
        StrCpy ${result} ""
    ${EndIf}
!macroend

!macro unregister root was
    ${If} ${was} != ""
    ${AndIfNot} ${FileExists} "${was}"
        DeleteRegKey ${root} "${PLUGIN_KEY}"
        DeleteRegKey /ifempty ${root} "${PLUGINS_KEY}"
        DeleteRegKey ${root} "${UNINSTALL_KEY}"
    ${EndIf}
!macroend

Section Uninstall
    UserInfo::GetAccountType
    Pop $0
    ReadRegStr $1 HKLM "${UNINSTALL_KEY}" InstallLocation
    ${If} $0 != Admin
    ${AndIf} $1 == $INSTDIR
        !insertmacro fail ${ACCESS_DENIED} "To remove what is there for all users takes the rights of an administrator."
    ${EndIf}
    !insertmacro registered_plugin HKLM $R1
    !insertmacro registered_plugin HKCU $R2
    !insertmacro fail_unless_free "$INSTDIR\${PLUGIN}"
    Delete "$INSTDIR\${PLUGIN}"
    ${If} ${FileExists} "$INSTDIR\${PLUGIN}"
        !insertmacro fail ${SHARING_VIOLATION} "The plug-in is in use. Close all browsers and try again."
    ${EndIf}
    !insertmacro unregister HKLM $R1
    !insertmacro unregister HKCU $R2
    !insertmacro delete_files "$INSTDIR" ""
    !insertmacro delete_folder "$INSTDIR"
SectionEnd

// The numbers under which language files have the texts of the windows: a section for each window
// or tab, and in it a number for each text. Numbers of controls stand beside their windows.
#pragma once

// The main window.
constexpr unsigned short kDlgMain = 100;
constexpr unsigned short kStrTitle = 10;

// The tab General.
constexpr unsigned short kDlgGeneral = 101;
constexpr unsigned short kStrGeneral = 111;
constexpr unsigned short kStrScanFrame = 113;
constexpr unsigned short kStrScanLabel = 114;
constexpr unsigned short kStrScanBrowse = 116;
constexpr unsigned short kStrOcrFrame = 119;
constexpr unsigned short kStrOcrLabel = 121;
constexpr unsigned short kStrOcrBrowse = 123;
constexpr unsigned short kStrSelectFile = 124;
constexpr unsigned short kStrSelectFolder = 125;
constexpr unsigned short kStrBadOcrpath = 126;
constexpr unsigned short kStrBadScanpath = 127;

// The tab Network.
constexpr unsigned short kDlgNetwork = 102;
constexpr unsigned short kStrNetwork = 211;
constexpr unsigned short kStrFrame = 212;
constexpr unsigned short kStrListUp = 213;
constexpr unsigned short kStrName = 214;
constexpr unsigned short kStrHeading = 215;
constexpr unsigned short kStrModelName = 216;
constexpr unsigned short kStrMachineName = 217;
constexpr unsigned short kStrAddress = 218;
constexpr unsigned short kStrSearch = 219;
constexpr unsigned short kStrConfigure = 220;

// The search dialog.
constexpr unsigned short kDlgSearch = 103;
constexpr unsigned short kStrSearching = 311;

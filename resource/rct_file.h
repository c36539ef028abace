// The language resource file: the translated texts of the user interface.
#pragma once

#include <cstdio>

#include "collections/map_word_to_ptr.h"

// Finds the copy of the language resource file that suits the environment variable LANG, reads it
// and answers look-ups.
//
// The file is plain text. Each line is one of
//   ;...            a comment
//   [string]        the start of the section of texts that belong to no dialog, key 0
//   [dlg101]        the start of the section of dialog 101
//   111=General     the text 111 of the section that was started last
//   DialogInfo=...  the text 0 of that section
// Names of sections and the key DialogInfo are read without regard to case. In a text \\ stands for
// a backslash, \n, \r and \t for a line feed, a carriage return and a tab. Lines of another form
// are skipped, and so is a section line with an unknown name: the entries that follow it belong to
// the section before. A section that starts again replaces the earlier one.
//
// Used from the GTK main thread only. Texts that are handed out belong to the file and are valid
// until the next Load or Clear.
class CRctFile {
 public:
  // The texts of one section.
  class CRctStrings {
   public:
    CRctStrings();
    CRctStrings(const CRctStrings&) = delete;
    CRctStrings& operator=(const CRctStrings&) = delete;
    virtual ~CRctStrings();

    // The number of texts.
    virtual int GetCount() const;

    // Releases all texts.
    virtual void Clear();

    // Stores a copy of text under id, releases the text that it replaces and returns the copy.
    // Returns null and changes nothing when there is no memory for the copy; throws std::bad_alloc
    // and changes nothing when there is none for its entry.
    virtual const char* SetString(unsigned short id, const char* text);

    // The text stored under id, or null.
    virtual const char* GetString(unsigned short id) const;

   protected:
    CMapWordToPtr m_mapStrings;  // identifier to a text from strdup, owned
  };

  CRctFile();
  CRctFile(const CRctFile&) = delete;
  CRctFile& operator=(const CRctFile&) = delete;
  virtual ~CRctFile();

  // Releases all sections.
  virtual void Clear();

  // Replaces the texts by those of the file `name` that TryOpenRctFile finds under dir, a text that
  // ends in "/". Returns 1 when the file was found and its [string] section holds a text, otherwise
  // 0; what was read stays loaded in either case. Throws std::bad_alloc as LoadRctFile does.
  int Load(const char* dir, const char* name);

  // The text `string` of the section of `dialog`, or null. Dialog 0 is the [string] section. A text
  // may be empty.
  const char* LoadDlgString(unsigned short dialog, unsigned short string) const;

  // Reads the locale ("ll_CC") and the language ("ll") from LANG, each cut to its buffer of the
  // size given in bytes. A locale of exactly two letters is widened by its country when the buffer
  // has room for 6 bytes: "ja" becomes "ja_JP". LANG is used as it is, apart from the C library's
  // locale; without it both texts are empty.
  static void Get_ll_CC(char* ll_CC, unsigned int ll_CC_size, char* ll, unsigned int ll_size);

  // Opens the first of these files that can be opened, for the locale and language of LANG:
  // dir/ll_CC/name, dir/ll/name, dir/en_US/name, dir/en/name, dir/name. Returns null when there is
  // none. A pipe counts as one that cannot be opened, since opening it might never end. The caller
  // closes the stream. Each try is noted in the debug log.
  static FILE* TryOpenRctFile(const char* dir, const char* name);

  // Reads the sections of an open file, which stays open, and adds them to those that are loaded.
  // Returns as Load does. Of a device, whose content may have no end, nothing is read. Throws
  // std::bad_alloc when there is no memory for a section or for the entry of a text; what was read
  // before stays loaded.
  int LoadRctFile(FILE* stream);

  // Replaces the escapes of a text in place and returns the text.
  static char* DecodeString(char* text);

 protected:
  CMapWordToPtr m_mapSections;  // dialog identifier to a CRctStrings, owned

 private:
  CRctStrings* FindSection(unsigned short key) const;
  CRctStrings* StartSection(unsigned short key);
  CRctStrings* ReadHeader(char* line, CRctStrings* current);
};

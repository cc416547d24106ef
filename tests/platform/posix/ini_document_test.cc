#include "platform/posix/ini_document.h"

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/fakes.h"
#include "util/error.h"

namespace kdzv::posix {
namespace {

using test::ReadFileBytes;
using test::TempDir;
using test::WriteFileBytes;

// Runs `save` and answers the number of the kdzv::Error it raises (0: none).
template <typename F>
int32_t ErrorNumberOf(F&& save) {
  try {
    save();
  } catch (const Error& e) {
    return e.number();
  }
  return 0;
}

TEST(IniDocumentTest, ReadsSectionsAndKeys) {
  const IniDocument doc =
      IniDocument::Parse("[SESSION]\nLastSessionID=12\n[MATCHING]\nMethode=X\n");
  EXPECT_EQ(doc.Get("SESSION", "LastSessionID"), "12");
  EXPECT_EQ(doc.Get("MATCHING", "Methode"), "X");
  EXPECT_EQ(doc.Get("SESSION", "Methode"), std::nullopt);
  EXPECT_EQ(doc.Get("OTHER", "Methode"), std::nullopt);
  EXPECT_EQ(doc.Sections(), (std::vector<std::string>{"SESSION", "MATCHING"}));
  EXPECT_EQ(doc.Keys("matching"), (std::vector<std::string>{"Methode"}));
  EXPECT_TRUE(doc.Keys("none").empty());
}

TEST(IniDocumentTest, NamesAreMatchedWithoutRegardToCase) {
  const IniDocument doc = IniDocument::Parse("[Session]\nlastsessionid=3\n[ÄRZTE]\nÖffnung=ja\n");
  EXPECT_EQ(doc.Get("SESSION", "LastSessionID"), "3");
  EXPECT_EQ(doc.Get("session", "LASTSESSIONID"), "3");
  EXPECT_TRUE(doc.HasSection("sEsSiOn"));
  EXPECT_EQ(doc.Get("ärzte", "öFFNUNG"), "ja");
}

TEST(IniDocumentTest, ValuesAndNamesAreTrimmed) {
  const IniDocument doc = IniDocument::Parse("  [ A ]  \n\t key \t=  some value \t\n");
  EXPECT_EQ(doc.Get("A", "key"), "some value");
  EXPECT_EQ(doc.Sections(), (std::vector<std::string>{"A"}));
}

TEST(IniDocumentTest, OnePairOfMatchingQuotesIsStripped) {
  const IniDocument doc = IniDocument::Parse(
      "[Q]\n"
      "a=\"  padded  \"\n"
      "b='single'\n"
      "c=\"\"twice\"\"\n"
      "d=\"mixed'\n"
      "e=\"\n"
      "f=  \"x\"  \n"
      "g=in\"side\"\n"
      "h=\"\"\n");
  EXPECT_EQ(doc.Get("Q", "a"), "  padded  ");
  EXPECT_EQ(doc.Get("Q", "b"), "single");
  EXPECT_EQ(doc.Get("Q", "c"), "\"twice\"");
  EXPECT_EQ(doc.Get("Q", "d"), "\"mixed'");
  EXPECT_EQ(doc.Get("Q", "e"), "\"");
  EXPECT_EQ(doc.Get("Q", "f"), "x");
  EXPECT_EQ(doc.Get("Q", "g"), "in\"side\"");
  EXPECT_EQ(doc.Get("Q", "h"), "");
}

TEST(IniDocumentTest, EmptyValueIsPresent) {
  const IniDocument doc = IniDocument::Parse("[M]\nNeuerPatient=\nOther =   \n");
  EXPECT_EQ(doc.Get("M", "NeuerPatient"), "");
  EXPECT_EQ(doc.Get("M", "Other"), "");
}

TEST(IniDocumentTest, ValueKeepsFurtherEqualsSigns) {
  const IniDocument doc = IniDocument::Parse("[M]\nformula=a=b=c\n");
  EXPECT_EQ(doc.Get("M", "formula"), "a=b=c");
}

TEST(IniDocumentTest, CommentsAndLinesWithoutEqualsAreNoKeys) {
  const IniDocument doc = IniDocument::Parse(
      "; leading comment\n[S]\n;key=commented\n  ; x=1\nnovalue\n=orphan\nkey=real\n");
  EXPECT_EQ(doc.Get("S", "key"), "real");
  EXPECT_EQ(doc.Get("S", ";key"), std::nullopt);
  EXPECT_EQ(doc.Get("S", "novalue"), std::nullopt);
  EXPECT_EQ(doc.Keys("S"), (std::vector<std::string>{"key"}));
}

TEST(IniDocumentTest, KeysBeforeTheFirstSectionBelongToNone) {
  const IniDocument doc = IniDocument::Parse("loose=1\n[S]\nk=2\n");
  EXPECT_EQ(doc.Get("", "loose"), std::nullopt);
  EXPECT_EQ(doc.Get("S", "loose"), std::nullopt);
  EXPECT_EQ(doc.Get("S", "k"), "2");
}

TEST(IniDocumentTest, FirstOfRepeatedSectionsAndKeysWins) {
  const IniDocument doc = IniDocument::Parse("[S]\nk=1\nk=2\n[s]\nk=3\nj=4\n");
  EXPECT_EQ(doc.Get("S", "k"), "1");
  EXPECT_EQ(doc.Get("S", "j"), std::nullopt);
  EXPECT_EQ(doc.Keys("S"), (std::vector<std::string>{"k"}));
  EXPECT_EQ(doc.Sections(), (std::vector<std::string>{"S"}));
}

TEST(IniDocumentTest, ByteOrderMarkIsSkippedAndKept) {
  const std::string text = "\xEF\xBB\xBF[S]\r\nk=v\r\n";
  const IniDocument doc = IniDocument::Parse(text);
  EXPECT_EQ(doc.Get("S", "k"), "v");
  EXPECT_EQ(doc.Sections(), (std::vector<std::string>{"S"}));
  EXPECT_EQ(doc.Serialize("\r\n"), text);
}

TEST(IniDocumentTest, CrLfAndLfLinesReadAlike) {
  const IniDocument crlf = IniDocument::Parse("[S]\r\nk= v \r\nj=\"q\"\r\n");
  EXPECT_EQ(crlf.Get("S", "k"), "v");
  EXPECT_EQ(crlf.Get("S", "j"), "q");
  EXPECT_EQ(crlf.line_end(), "\r\n");
  const IniDocument lf = IniDocument::Parse("[S]\nk= v \nj=\"q\"\n");
  EXPECT_EQ(lf.Get("S", "k"), "v");
  EXPECT_EQ(lf.line_end(), "\n");
  EXPECT_EQ(IniDocument().line_end(), "\r\n");
  EXPECT_EQ(IniDocument::Parse("[S]").line_end(), "\r\n");
}

TEST(IniDocumentTest, LastLineWithoutLineEndIsRead) {
  const IniDocument doc = IniDocument::Parse("[S]\nk=last");
  EXPECT_EQ(doc.Get("S", "k"), "last");
  EXPECT_EQ(doc.Serialize("\n"), "[S]\nk=last");
}

TEST(IniDocumentTest, SetChangesAnExistingKeyInPlace) {
  IniDocument doc = IniDocument::Parse("; c\n[SESSION]\nLastSessionID = 4 \nOther=x\n");
  doc.Set("session", "lastsessionid", "5");
  EXPECT_EQ(doc.Get("SESSION", "LastSessionID"), "5");
  EXPECT_EQ(doc.Serialize("\n"), "; c\n[SESSION]\nLastSessionID=5\nOther=x\n");
}

TEST(IniDocumentTest, NewKeyGoesAfterTheLastKeyOfItsSection) {
  IniDocument doc = IniDocument::Parse(
      "[A]\na1=1\n; note\na2=2\n\n; about B\n[B]\nb1=1\n");
  doc.Set("a", "a3", "3");
  EXPECT_EQ(doc.Serialize("\n"), "[A]\na1=1\n; note\na2=2\na3=3\n\n; about B\n[B]\nb1=1\n");
  doc.Set("B", "b2", "2");
  EXPECT_EQ(doc.Serialize("\n"),
            "[A]\na1=1\n; note\na2=2\na3=3\n\n; about B\n[B]\nb1=1\nb2=2\n");
}

TEST(IniDocumentTest, NewKeyInSectionWithoutKeysFollowsItsHeader) {
  IniDocument doc = IniDocument::Parse("[A]\n; empty\n[B]\nx=1\n");
  doc.Set("A", "k", "v");
  EXPECT_EQ(doc.Serialize("\n"), "[A]\nk=v\n; empty\n[B]\nx=1\n");
}

TEST(IniDocumentTest, NewSectionIsAppendedAtTheEnd) {
  IniDocument doc = IniDocument::Parse("[A]\nx=1\n");
  doc.Set("SESSION", "LastSessionID", "1");
  EXPECT_EQ(doc.Serialize("\n"), "[A]\nx=1\n[SESSION]\nLastSessionID=1\n");
  EXPECT_EQ(doc.Keys("SESSION"), (std::vector<std::string>{"LastSessionID"}));
}

TEST(IniDocumentTest, AppendingAfterAnUnendedLastLineEndsIt) {
  IniDocument doc = IniDocument::Parse("[A]\r\nx=1");
  doc.Set("A", "y", "2");
  EXPECT_EQ(doc.Serialize(doc.line_end()), "[A]\r\nx=1\r\ny=2\r\n");
}

TEST(IniDocumentTest, SetOnEmptyDocument) {
  IniDocument doc;
  doc.Set("SESSION", "LastSessionID", "17");
  EXPECT_EQ(doc.Serialize(doc.line_end()), "[SESSION]\r\nLastSessionID=17\r\n");
}

TEST(IniDocumentTest, SetRefusesTextsThatAreNoSingleLine) {
  IniDocument doc;
  EXPECT_EQ(ErrorNumberOf([&] { doc.Set("S", "k", "a\nb"); }), err::kInvalidCall);
  EXPECT_EQ(ErrorNumberOf([&] { doc.Set("S", "k", "a\rb"); }), err::kInvalidCall);
  EXPECT_EQ(ErrorNumberOf([&] { doc.Set("S\n", "k", "v"); }), err::kInvalidCall);
  EXPECT_EQ(ErrorNumberOf([&] { doc.Set("S", "a=b", "v"); }), err::kInvalidCall);
  EXPECT_EQ(ErrorNumberOf([&] { doc.Set("S", " ", "v"); }), err::kInvalidCall);
  EXPECT_EQ(ErrorNumberOf([&] { doc.Set("S", ";k", "v"); }), err::kInvalidCall);
  EXPECT_EQ(ErrorNumberOf([&] { doc.Set("S", "[k]", "v"); }), err::kInvalidCall);
  EXPECT_EQ(doc.Serialize(), "");
}

TEST(IniDocumentTest, AddSection) {
  IniDocument doc = IniDocument::Parse("[A]\n");
  doc.AddSection("a");
  doc.AddSection("B");
  EXPECT_EQ(doc.Serialize("\n"), "[A]\n[B]\n");
  EXPECT_TRUE(doc.HasSection("b"));
  EXPECT_TRUE(doc.Keys("B").empty());
}

TEST(IniDocumentTest, RemoveSectionTakesItsKeysAndRepeats) {
  IniDocument doc = IniDocument::Parse(
      "; top\n[A]\nx=1\n[B]\ny=2\n; b note\n[a]\nz=3\n[C]\nw=4\n");
  EXPECT_TRUE(doc.RemoveSection("A"));
  EXPECT_EQ(doc.Serialize("\n"), "; top\n[B]\ny=2\n; b note\n[C]\nw=4\n");
  EXPECT_FALSE(doc.HasSection("A"));
  EXPECT_FALSE(doc.RemoveSection("A"));
  EXPECT_TRUE(doc.RemoveSection("c"));
  EXPECT_EQ(doc.Serialize("\n"), "; top\n[B]\ny=2\n; b note\n");
  EXPECT_EQ(doc.Get("B", "y"), "2");
}

TEST(IniDocumentTest, RemovingTheUnendedLastSectionKeepsTheLineEndBeforeIt) {
  IniDocument doc = IniDocument::Parse("[A]\r\nx=1\r\n[B]\r\ny=2");
  EXPECT_TRUE(doc.RemoveSection("B"));
  EXPECT_EQ(doc.Serialize(doc.line_end()), "[A]\r\nx=1\r\n");
  IniDocument middle = IniDocument::Parse("[A]\nx=1\n[B]\ny=2\n[C]\nz=3");
  EXPECT_TRUE(middle.RemoveSection("B"));
  EXPECT_EQ(middle.Serialize("\n"), "[A]\nx=1\n[C]\nz=3");
}

TEST(IniDocumentTest, RoundTripKeepsEveryOtherLineByteForByte) {
  const std::string before =
      "; kdZentavo\r\n"
      "\r\n"
      "[SESSION]   ; trailing text\r\n"
      "  LastSessionID   =   41   \r\n"
      "\tnoise without equals\r\n"
      "[MATCHING]\r\n"
      "NeuerPatient = \"Neuer Patient\"\r\n"
      "; Versicherung=Kasse\r\n"
      "Methode='Behandlungsart'\r\n";
  TempDir dir;
  const std::string path = dir.File("kdZentavo.cfg");
  WriteFileBytes(path, before);
  IniDocument::Load(path).Save(path);
  EXPECT_EQ(ReadFileBytes(path), before);

  IniDocument doc = IniDocument::Load(path);
  doc.Set("SESSION", "LastSessionID", "42");
  doc.Save(path);
  std::string expected = before;
  expected.replace(expected.find("  LastSessionID   =   41   "), 27, "LastSessionID=42");
  EXPECT_EQ(ReadFileBytes(path), expected);
}

TEST(IniDocumentTest, SaveKeepsLfFilesLf) {
  TempDir dir;
  const std::string path = dir.File("lf.ini");
  WriteFileBytes(path, "[A]\nx=1\n");
  IniDocument doc = IniDocument::Load(path);
  doc.Set("B", "y", "2");
  doc.Save(path);
  EXPECT_EQ(ReadFileBytes(path), "[A]\nx=1\n[B]\ny=2\n");
}

TEST(IniDocumentTest, NewFileIsWrittenWithCrLf) {
  TempDir dir;
  const std::string path = dir.File("new.cfg");
  IniDocument doc = IniDocument::Load(path);
  doc.Set("SESSION", "LastSessionID", "1");
  doc.Save(path);
  EXPECT_EQ(ReadFileBytes(path), "[SESSION]\r\nLastSessionID=1\r\n");
}

TEST(IniDocumentTest, MissingFileLoadsEmpty) {
  TempDir dir;
  EXPECT_TRUE(IniDocument::Load(dir.File("none.cfg")).Sections().empty());
  EXPECT_TRUE(IniDocument::Load(dir.File("no/such/folder/x.cfg")).Sections().empty());
}

TEST(IniDocumentTest, UnreadablePathRaises) {
  TempDir dir;
  // A folder cannot be read as a file.
  EXPECT_EQ(ErrorNumberOf([&] { IniDocument::Load(dir.path()); }), err::kPathFileAccess);
}

TEST(IniDocumentTest, AtomicSaveLeavesNoTemporaryFiles) {
  TempDir dir;
  const std::string path = dir.File("a.cfg");
  for (int i = 0; i < 5; ++i) {
    IniDocument doc = IniDocument::Load(path);
    doc.Set("SESSION", "LastSessionID", std::to_string(i));
    doc.Save(path);
  }
  EXPECT_EQ(test::FolderEntries(dir.path()), (std::vector<std::string>{"a.cfg"}));
  EXPECT_EQ(ReadFileBytes(path), "[SESSION]\r\nLastSessionID=4\r\n");
}

TEST(IniDocumentTest, SaveKeepsThePermissionsOfTheFileItReplaces) {
  TempDir dir;
  const std::string path = dir.File("perm.cfg");
  WriteFileBytes(path, "[A]\n");
  ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
  IniDocument::Load(path).Save(path);
  struct stat info {};
  ASSERT_EQ(::stat(path.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0640u);
}

TEST(IniDocumentTest, SaveIntoMissingFolderRaisesPathNotFound) {
  TempDir dir;
  IniDocument doc;
  doc.Set("S", "k", "v");
  try {
    doc.Save(dir.File("missing/x.cfg"));
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 76);
    EXPECT_EQ(e.description(), "Path not found");
  }
  EXPECT_TRUE(test::FolderEntries(dir.path()).empty());
}

TEST(IniDocumentTest, SaveCreatesMissingFoldersWhenAsked) {
  TempDir dir;
  IniDocument doc;
  doc.Set("S", "k", "v");
  const std::string path = dir.File("one/two/x.cfg");
  doc.Save(path, true);
  EXPECT_EQ(ReadFileBytes(path), "[S]\r\nk=v\r\n");
  EXPECT_EQ(test::FolderEntries(dir.File("one/two")), (std::vector<std::string>{"x.cfg"}));
}

TEST(IniDocumentTest, SaveBelowARegularFileRaises) {
  TempDir dir;
  WriteFileBytes(dir.File("plain"), "x");
  IniDocument doc;
  doc.Set("S", "k", "v");
  EXPECT_NE(ErrorNumberOf([&] { doc.Save(dir.File("plain/x.cfg")); }), 0);
  EXPECT_NE(ErrorNumberOf([&] { doc.Save(dir.File("plain/x.cfg"), true); }), 0);
  EXPECT_EQ(ReadFileBytes(dir.File("plain")), "x");
  EXPECT_EQ(test::FolderEntries(dir.path()), (std::vector<std::string>{"plain"}));
}

TEST(IniDocumentTest, SaveOntoAFolderRaisesAndCleansUp) {
  TempDir dir;
  ASSERT_EQ(::mkdir(dir.File("sub").c_str(), 0755), 0);
  IniDocument doc;
  doc.Set("S", "k", "v");
  EXPECT_EQ(ErrorNumberOf([&] { doc.Save(dir.File("sub")); }), err::kPathFileAccess);
  EXPECT_EQ(test::FolderEntries(dir.path()), (std::vector<std::string>{"sub"}));
}

TEST(IniDocumentTest, SaveThroughASymbolicLinkReplacesItsTarget) {
  TempDir dir;
  const std::string real = dir.File("real.cfg");
  const std::string link = dir.File("link.cfg");
  WriteFileBytes(real, "[S]\nk=1\n");
  ASSERT_EQ(::symlink(real.c_str(), link.c_str()), 0);
  IniDocument doc = IniDocument::Load(link);
  doc.Set("S", "k", "2");
  doc.Save(link);
  struct stat info {};
  ASSERT_EQ(::lstat(link.c_str(), &info), 0);
  EXPECT_TRUE(S_ISLNK(info.st_mode));
  EXPECT_EQ(ReadFileBytes(real), "[S]\nk=2\n");
}

// --- Files that are no settings file ---

TEST(IniDocumentLimitsTest, APipeInTheFilesPlaceIsRefusedWithoutWaiting) {
  TempDir dir;
  const std::string path = dir.File("kdZentavo.cfg");
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  // Nobody writes into the pipe: an open that waited would never return.
  EXPECT_EQ(ErrorNumberOf([&] { IniDocument::Load(path); }), 75);
}

TEST(IniDocumentLimitsTest, ALinkToADeviceIsRefusedWithoutReading) {
  TempDir dir;
  const std::string path = dir.File("kdZentavo.cfg");
  ASSERT_EQ(::symlink("/dev/zero", path.c_str()), 0);
  EXPECT_EQ(ErrorNumberOf([&] { IniDocument::Load(path); }), 75);
}

TEST(IniDocumentLimitsTest, AFolderInTheFilesPlaceIsRefused) {
  TempDir dir;
  ASSERT_EQ(::mkdir(dir.File("kdZentavo.cfg").c_str(), 0700), 0);
  EXPECT_NE(ErrorNumberOf([&] { IniDocument::Load(dir.File("kdZentavo.cfg")); }), 0);
}

TEST(IniDocumentLimitsTest, AFileUpToTheLimitIsReadAndOneByteMoreIsRefused) {
  TempDir dir;
  const std::string path = dir.File("big.ini");
  std::string text = "[SESSION]\nLastSessionID=7\n";
  text.resize(IniDocument::kMaxFileBytes, '\n');
  WriteFileBytes(path, text);
  EXPECT_EQ(IniDocument::Load(path).Get("SESSION", "LastSessionID"), "7");
  WriteFileBytes(path, text + "\n");
  try {
    IniDocument::Load(path);
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 75);
    EXPECT_NE(e.description().find("more than 262144 bytes"), std::string::npos)
        << e.description();
  }
}

TEST(IniDocumentLimitsTest, ManyKeysAndSectionsKeepTheirFirstOccurrence) {
  std::string text = "[Zentavo]\n";
  for (int i = 0; i < 5000; ++i) text += "junk" + std::to_string(i) + "=" + std::to_string(i) + "\n";
  text += "JUNK7=shadowed\n";
  for (int i = 0; i < 5000; ++i) text += "[s" + std::to_string(i) + "]\n";
  text += "[ZENTAVO]\nDoLog=True\n";
  const IniDocument doc = IniDocument::Parse(text);
  const auto entries = doc.Entries("zentavo");
  ASSERT_EQ(entries.size(), 5000u);
  EXPECT_EQ(entries[7], (std::pair<std::string, std::string>{"junk7", "7"}));
  EXPECT_EQ(doc.Sections().size(), 5001u);
  EXPECT_EQ(doc.Keys("Zentavo").back(), "junk4999");
  // The second section of the same name is shadowed by the first.
  EXPECT_EQ(doc.Get("Zentavo", "DoLog"), std::nullopt);
  EXPECT_TRUE(doc.HasAnySection());
  EXPECT_FALSE(IniDocument::Parse("; only a comment\n").HasAnySection());
}

TEST(IniDocumentTest, ALastLineWithoutLineEndKeepsItsCarriageReturns) {
  const IniDocument doc = IniDocument::Parse("[SESSION]\r\r");
  EXPECT_EQ(doc.Serialize(doc.line_end()), "[SESSION]\r\r");
  EXPECT_TRUE(doc.HasSection("SESSION"));
}

}  // namespace
}  // namespace kdzv::posix

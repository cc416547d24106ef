#include "platform/win32/msxml_parser.h"

#include <msxml2.h>
#include <objbase.h>
#include <windows.h>

#include <algorithm>
#include <utility>

#include "platform/win32/com_apartment.h"
#include "platform/win32/com_ptr.h"
#include "platform/win32/com_values.h"
#include "platform/win32/unique_handle.h"
#include "platform/win32/wide_text.h"
#include "util/error.h"

namespace kdzv::win32 {
namespace {

// MSXML 3.0's DOMDocument30 class and the IXMLDOMDocument2 interface (the
// import libraries declare these but do not define them).
constexpr CLSID kClsidDomDocument30 = {
    0xf5078f32, 0xc551, 0x11d3, {0x89, 0xb9, 0x00, 0x00, 0xf8, 0x1f, 0xe2, 0x21}};
constexpr IID kIidXmlDomDocument2 = {
    0x2933bf95, 0x7b36, 0x11d2, {0xb2, 0x0e, 0x00, 0xc0, 0x4f, 0x98, 0x3e, 0x60}};

// "ActiveX component can't create object"
constexpr int32_t kCannotCreateObject = 429;

[[noreturn]] void RaiseCannotCreate() {
  Raise(kCannotCreateObject, "ActiveX component can't create object", "MsxmlParser");
}

// The whole file, or nothing when it cannot be read; kTooLarge (and no
// bytes read) when it is larger than a message file may be.
XmlReadResult ReadMessageFile(const std::string& path, std::string& bytes, uint64_t& file_bytes) {
  UniqueHandle file(::CreateFileW(Widen(path).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file.valid() || ::GetFileType(file.get()) != FILE_TYPE_DISK) {
    return XmlReadResult::kUnreadable;
  }
  LARGE_INTEGER size{};
  if (!::GetFileSizeEx(file.get(), &size) || size.QuadPart < 0) return XmlReadResult::kUnreadable;
  file_bytes = static_cast<uint64_t>(size.QuadPart);
  if (file_bytes > xml_limits::kMaxFileBytes) return XmlReadResult::kTooLarge;
  // One byte of room beyond the size, to notice a file that grew meanwhile.
  bytes.resize(static_cast<size_t>(size.QuadPart) + 1);
  size_t used = 0;
  for (;;) {
    if (used == bytes.size()) {
      if (used > xml_limits::kMaxFileBytes) return XmlReadResult::kUnreadable;
      bytes.resize(static_cast<size_t>(
          std::min<uint64_t>(uint64_t{used} * 2 + 1, xml_limits::kMaxFileBytes + 1)));
    }
    const DWORD wanted = static_cast<DWORD>(std::min<size_t>(bytes.size() - used, size_t{1} << 30));
    DWORD read = 0;
    if (!::ReadFile(file.get(), bytes.data() + used, wanted, &read, nullptr)) {
      return XmlReadResult::kUnreadable;
    }
    if (read == 0) break;
    used += read;
  }
  if (used > xml_limits::kMaxFileBytes) return XmlReadResult::kUnreadable;
  bytes.resize(used);
  return XmlReadResult::kRead;
}

void SetBooleanProperty(IXMLDOMDocument2* document, const wchar_t* name, bool value) {
  UniqueBstr property(name);
  UniqueVariant setting;
  VARIANT* raw = setting.Put();
  raw->vt = VT_BOOL;
  raw->boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
  // Not every version knows every property; the document is checked
  // independently of it.
  document->setProperty(property.get(), setting.get());
}

// A DOM document set up for one synchronous load: whitespace-only text is
// kept (the tree's Text() trims it where it matters), nothing external is
// resolved and no document type is accepted.
ComPtr<IXMLDOMDocument2> CreateDocument() {
  ComPtr<IXMLDOMDocument2> document;
  if (FAILED(::CoCreateInstance(kClsidDomDocument30, nullptr, CLSCTX_INPROC_SERVER,
                                kIidXmlDomDocument2, document.PutVoid())) ||
      !document) {
    RaiseCannotCreate();
  }
  document->put_async(VARIANT_FALSE);
  document->put_validateOnParse(VARIANT_FALSE);
  document->put_resolveExternals(VARIANT_FALSE);
  document->put_preserveWhiteSpace(VARIANT_TRUE);
  SetBooleanProperty(document.get(), L"ProhibitDTD", true);
  return document;
}

// Feeds `element` and everything below it to `builder`. False when the
// builder refuses (a limit) or the tree holds a node a message cannot hold.
bool Walk(IXMLDOMNode* element, XmlTreeBuilder& builder) {
  UniqueBstr name;
  if (element->get_nodeName(name.Put()) != S_OK) return false;
  if (!builder.StartElement(name.Utf8())) return false;
  ComPtr<IXMLDOMNode> child;
  element->get_firstChild(child.Put());
  while (child) {
    DOMNodeType type = NODE_INVALID;
    if (child->get_nodeType(&type) != S_OK) return false;
    switch (type) {
      case NODE_ELEMENT:
        if (!Walk(child.get(), builder)) return false;
        break;
      case NODE_TEXT:
      case NODE_CDATA_SECTION: {
        UniqueVariant value;
        if (child->get_nodeValue(value.Put()) != S_OK || value.get().vt != VT_BSTR) return false;
        const BSTR text = value.get().bstrVal;
        if (text != nullptr &&
            !builder.Characters(Narrow(std::wstring_view(text, ::SysStringLen(text))))) {
          return false;
        }
        break;
      }
      case NODE_COMMENT:
      case NODE_PROCESSING_INSTRUCTION: break;
      default:
        // Entity references and the like exist only with a document type.
        return false;
    }
    ComPtr<IXMLDOMNode> next;
    child->get_nextSibling(next.Put());
    child = std::move(next);
  }
  builder.EndElement();
  return true;
}

}  // namespace

XmlReadResult MsxmlParser::ReadFile(const std::string& path, XmlStreamSink& sink,
                                    uint64_t& file_bytes) {
  std::string bytes;
  const XmlReadResult loaded = ReadMessageFile(path, bytes, file_bytes);
  if (loaded != XmlReadResult::kRead) return loaded;
  return ReadBytes(bytes, sink);
}

XmlReadResult MsxmlParser::ReadBytes(std::string_view bytes, XmlStreamSink& sink) {
  if (bytes.size() > xml_limits::kMaxFileBytes) return XmlReadResult::kTooLarge;
  if (!CheckRawMessage(bytes)) return XmlReadResult::kUnreadable;
  ComApartment apartment;
  if (!apartment.ready()) RaiseCannotCreate();
  ComPtr<IXMLDOMDocument2> document = CreateDocument();

  // Loaded from the very bytes that were checked: the parser detects their
  // encoding from the byte order mark or the XML declaration.
  UniqueVariant source;
  SetByteArray(source, bytes);
  VARIANT_BOOL loaded = VARIANT_FALSE;
  if (document->load(source.get(), &loaded) != S_OK || loaded != VARIANT_TRUE) {
    return XmlReadResult::kUnreadable;
  }

  ComPtr<IXMLDOMDocumentType> doctype;
  document->get_doctype(doctype.Put());
  if (doctype) return XmlReadResult::kUnreadable;
  ComPtr<IXMLDOMElement> root;
  if (document->get_documentElement(root.Put()) != S_OK || !root) {
    return XmlReadResult::kUnreadable;
  }

  XmlTreeBuilder builder(sink);
  if (!Walk(root.get(), builder) || !builder.Done()) return XmlReadResult::kUnreadable;
  return XmlReadResult::kRead;
}

}  // namespace kdzv::win32

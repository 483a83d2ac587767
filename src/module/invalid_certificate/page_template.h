#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace qel::tcp_traffic_interceptor {

// The alert page's placeholders in the order in which the page replaces them.
enum PageSlot : size_t {
  kProductSlot,
  kCertActionSlot,
  kCertDetailsSlot,
  kTargetUrlSlot,
  kShowCertificateUrlSlot,
  kIgnoreAndContinueUrlSlot,
  kReasonDescriptionSlot,
  kCertificateSubjectSlot,
  kCertificateIssuerSlot,
  kCertificateExpirationDateSlot,
  kCertificatePemDataSlot,
  kPageSlotCount
};

// The values of one page, slot by slot; `steps` slots from the first are replaced, the others stay
// as their placeholders (the certificate's four when the domain has none).
struct PageValues {
  std::array<std::string, kPageSlotCount> values;
  size_t steps = kPageSlotCount;
};

// The page template, with what replacing every placeholder in turn (all occurrences, left to
// right, never going back over what was put in) does to it worked out once at load: literal
// pieces and slots. Render then writes a page in one pass into a buffer reserved once.
// The one pass equals the replacements in turn only when no replacement can reach into a value:
// each slot must stand between characters that occur in no placeholder, and no value may hold a
// '%'. Otherwise Render gives the page by the replacements in turn. Immutable after construction:
// any thread, no lock.
class PageTemplate final {
 public:
  PageTemplate() = default;
  explicit PageTemplate(std::string text);

  // The page for `values`, appended to `page`.
  void Render(const PageValues& values, std::string& page) const;
  // The replacements in turn over the whole template: the reference the one pass must equal.
  void RenderInTurn(const PageValues& values, std::string& page) const;
  bool OnePass() const noexcept { return m_onePass; }
  const std::string& Text() const noexcept { return m_text; }

  static std::string_view Placeholder(size_t slot);

 private:
  struct Piece {
    size_t slot;    // kPageSlotCount for literal text
    size_t offset;  // literal text: where in m_text, and how long
    size_t length;
  };
  void Compile();

  std::string m_text;
  std::vector<Piece> m_pieces;
  bool m_onePass = false;
};

}  // namespace qel::tcp_traffic_interceptor

#include "page_template.h"

#include <boost/algorithm/string/replace.hpp>
#include <utility>

namespace qel::tcp_traffic_interceptor {
namespace {

constexpr std::array<std::string_view, kPageSlotCount> kPlaceholders = {
    "%PRODUCT%",
    "%CertAction%",
    "%CertDetails%",
    "%TargetUrl%",
    "%ShowCertificateUrl%",
    "%IgnoreAndContinueUrl%",
    "%ReasonDescription%",
    "%CertificateSubject%",
    "%CertificateIssuer%",
    "%CertificateExpirationDate%",
    "%CertificatePEMData%",
};

// One character of the template on its way through the replacements: a byte with where it came
// from, or a replaced slot.
struct Cell {
  size_t slot;  // kPageSlotCount for a byte of the template
  size_t offset;
  char byte;
};

// A byte that occurs in a placeholder could be part of one that a replacement brings together.
std::array<bool, 256> PlaceholderBytes() {
  std::array<bool, 256> bytes{};
  for (const std::string_view placeholder : kPlaceholders) {
    for (const char byte : placeholder) {
      bytes[static_cast<unsigned char>(byte)] = true;
    }
  }
  return bytes;
}

bool Matches(const std::vector<Cell>& cells, size_t at, std::string_view placeholder) {
  if (cells.size() - at < placeholder.size()) {
    return false;
  }
  for (size_t i = 0; i < placeholder.size(); ++i) {
    if (cells[at + i].slot != kPageSlotCount || cells[at + i].byte != placeholder[i]) {
      return false;
    }
  }
  return true;
}

// replace_all of one placeholder by one opaque cell.
std::vector<Cell> ReplaceSlot(const std::vector<Cell>& cells, size_t slot) {
  std::vector<Cell> replaced;
  replaced.reserve(cells.size());
  for (size_t at = 0; at < cells.size();) {
    if (Matches(cells, at, kPlaceholders[slot])) {
      replaced.push_back(Cell{slot, 0, 0});
      at += kPlaceholders[slot].size();
    } else {
      replaced.push_back(cells[at++]);
    }
  }
  return replaced;
}

}  // namespace

PageTemplate::PageTemplate(std::string text) : m_text(std::move(text)) { Compile(); }

std::string_view PageTemplate::Placeholder(size_t slot) { return kPlaceholders[slot]; }

void PageTemplate::Compile() {
  std::vector<Cell> cells;
  cells.reserve(m_text.size());
  for (size_t offset = 0; offset < m_text.size(); ++offset) {
    cells.push_back(Cell{kPageSlotCount, offset, m_text[offset]});
  }
  for (size_t slot = 0; slot < kPageSlotCount; ++slot) {
    cells = ReplaceSlot(cells, slot);
  }
  static const std::array<bool, 256> kPlaceholderBytes = PlaceholderBytes();
  const auto isSeparator = [&](size_t at) {
    return at >= cells.size() || (cells[at].slot == kPageSlotCount &&
                                  !kPlaceholderBytes[static_cast<unsigned char>(cells[at].byte)]);
  };
  m_onePass = true;
  for (size_t at = 0; at < cells.size(); ++at) {
    const Cell& cell = cells[at];
    if (cell.slot != kPageSlotCount) {
      m_onePass = m_onePass && (at == 0 || isSeparator(at - 1)) && isSeparator(at + 1);
      m_pieces.push_back(Piece{cell.slot, 0, 0});
    } else if (!m_pieces.empty() && m_pieces.back().slot == kPageSlotCount &&
               m_pieces.back().offset + m_pieces.back().length == cell.offset) {
      ++m_pieces.back().length;
    } else {
      m_pieces.push_back(Piece{kPageSlotCount, cell.offset, 1});
    }
  }
}

void PageTemplate::Render(const PageValues& values, std::string& page) const {
  bool onePass = m_onePass;
  for (size_t slot = 0; slot < values.steps && onePass; ++slot) {
    onePass = values.values[slot].find('%') == std::string::npos;
  }
  if (!onePass) {
    RenderInTurn(values, page);
    return;
  }
  const auto text = [&](const Piece& piece) -> std::string_view {
    if (piece.slot == kPageSlotCount) {
      return std::string_view(m_text).substr(piece.offset, piece.length);
    }
    return piece.slot < values.steps ? std::string_view(values.values[piece.slot])
                                     : kPlaceholders[piece.slot];
  };
  size_t size = page.size();
  for (const Piece& piece : m_pieces) {
    size += text(piece).size();
  }
  page.reserve(size);
  for (const Piece& piece : m_pieces) {
    page.append(text(piece));
  }
}

void PageTemplate::RenderInTurn(const PageValues& values, std::string& page) const {
  std::string text = m_text;
  for (size_t slot = 0; slot < values.steps; ++slot) {
    boost::algorithm::replace_all(text, kPlaceholders[slot], values.values[slot]);
  }
  page.append(text);
}

}  // namespace qel::tcp_traffic_interceptor

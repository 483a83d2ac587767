#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_ContentCategory(ROW) \
  ROW(Other, 0)                            \
  ROW(AdultContent, 1)                     \
  ROW(AlcoholTobaccoNarcotics, 3)          \
  ROW(Violence, 4)                         \
  ROW(Profanity, 5)                        \
  ROW(Weapons, 6)                          \
  ROW(ChatForum, 8)                        \
  ROW(WebMail, 9)                          \
  ROW(OnlineShops, 10)                     \
  ROW(SocialNets, 11)                      \
  ROW(Recruitment, 12)                     \
  ROW(HttpQueryRedirection, 13)            \
  ROW(CreditCards, 14)                     \
  ROW(PoliceDecision, 21)                  \
  ROW(SoftwareAudioVideo, 22)              \
  ROW(TechnologyElectronics, 25)           \
  ROW(GamblingLotteriesSweepstakes, 27)    \
  ROW(InternetCommunicationMedia, 28)      \
  ROW(CryptocurAndMining, 32)              \
  ROW(LegislationBE, 33)                   \
  ROW(ECommerce, 34)                       \
  ROW(ComputerGames, 35)                   \
  ROW(Religions, 36)                       \
  ROW(News, 37)                            \
  ROW(Torrents, 54)                        \
  ROW(FileSharing, 55)                     \
  ROW(AudioAndVideo, 56)                   \
  ROW(BankSites, 61)                       \
  ROW(Blogs, 66)                           \
  ROW(DatingSites, 67)                     \
  ROW(LegislationRF, 94)                   \
  ROW(LegislationGlobal, 98)               \
  ROW(SexuallyExplicit, 99)                \
  ROW(Sexuality, 100)                      \
  ROW(GenerativeAITools, 203)              \
  ROW(Any, -1)

namespace qel::ContentCategory {
enum Type : int32_t { QEL_ENUM_ROWS_ContentCategory(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::ContentCategory

QEL_ENUM_INFO(ContentCategory, 73, true, true)

#include "qel/tools/localization.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "qel/enums/verification_result.h"
#include "support/exports.h"
#include "support/scratch.h"

namespace {

using ByteVector = orv::types::vector_t<unsigned char>;

ByteVector Bytes(const std::string& text) { return tti::test::BytesAs<ByteVector>(text); }

std::string Text(const ByteVector& bytes) {
  return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

orv::intrusive_ptr<localization_manager::ILocalizer> PageLocalizer() {
  orv::intrusive_ptr<localization_manager::ILocalizer> localizer;
  EXPECT_EQ(qel::tools::CreateLocalizer(nullptr, 4242, u"traffic_processing", localizer), 0);
  EXPECT_TRUE(localizer);
  return localizer;
}

std::string Localize(const std::string& page) {
  const auto localizer = PageLocalizer();
  return Text(qel::tools::LocalizeTemplate(Bytes(page), localizer.get(), nullptr));
}

std::string LibraryPath() {
  const char* binaryDir = std::getenv("TTI_BINARY_DIR");
  return std::string(binaryDir ? binaryDir : ".") + "/bin/liblocalization.so";
}

TEST(Localization, NmShowsTheThreeEntryPointsOnly) {
  EXPECT_EQ(tti::test::ExportedFunctions(LibraryPath()),
            (std::set<std::string>{
                "_ZN3qel18TranslationInnards2TrB5cxx11ENS_3MsgEj",
                "_ZN3qel5tools15CreateLocalizerEPN3orv15IServiceLocatorEmRKNS1_5types14basic_"
                "string_tIDsNS1_11char_traitsIDsEENS1_16abi_v1_allocatorEEERNS1_13intrusive_"
                "ptrIN20localization_manager10ILocalizerEEE",
                "_ZN3qel5tools16LocalizeTemplateERKN3orv5types8vector_tIhNS1_16abi_v1_"
                "allocatorEEEPN20localization_manager10ILocalizerEPNS1_7ITracerE",
            }));
}

TEST(Localization, CreateLocalizerGivesOneReferenceRefusesOtherDomains_TemplateWithoutIt) {
  orv::intrusive_ptr<localization_manager::ILocalizer> localizer = PageLocalizer();
  ASSERT_TRUE(localizer);
  // One reference, ours: AddRef gives 2, and the two releases bring it to 0.
  EXPECT_EQ(localizer->AddRef(), 2u);
  EXPECT_EQ(localizer->Release(), 1u);

  // A failure empties the pointer it was given.
  EXPECT_LT(qel::tools::CreateLocalizer(nullptr, 1, u"no_such_domain", localizer), 0);
  EXPECT_FALSE(localizer);
  EXPECT_LT(qel::tools::CreateLocalizer(nullptr, 1, u"../en/traffic_processing", localizer), 0);
  EXPECT_LT(qel::tools::CreateLocalizer(nullptr, 1, u"", localizer), 0);
  EXPECT_FALSE(localizer);

  // What the module's pages cannot show: a call without a localiser, and which language the page
  // names (any text would fill the mark).
  EXPECT_EQ(Text(qel::tools::LocalizeTemplate(Bytes("$ActionWarn$"), nullptr, nullptr)),
            "$ActionWarn$");
  EXPECT_EQ(Localize("<html lang=\"$PageLanguage$\">"), "<html lang=\"en\">");
}

TEST(Localization, EveryKeyThePageCanHoldHasAText) {
  std::set<std::string> keys = {"ActionWarn", "ActionDeny", "DetailsTitleWarn", "DetailsTitleDeny",
                                "NotPartOfCertificate"};
  // Every name the verification results can take, the last row's included.
  for (uint32_t code :
       {0x80010001u, 0x80010002u, 0x80010003u, 0x80020001u, 0x80020002u, 0x80020003u,
        0x80020004u, 0x80020005u, 0x80020006u, 0x80030001u, 0x80030002u, 0x80030003u,
        0x80030004u, 0x80030005u, 0x80030006u, 0x80030007u, 0x80030008u, 0x80030009u,
        0x80040001u, 0x80080002u, 0x80080003u, 0u}) {
    keys.insert(std::string(qel::GetVerificationResultName(code).first.view()));
  }
  EXPECT_EQ(keys.size(), 27u);
  for (const std::string& key : keys) {
    const std::string worded = Localize("$" + key + "$");
    EXPECT_FALSE(worded.empty()) << key;
    EXPECT_EQ(worded.find('$'), std::string::npos) << key << " -> " << worded;
  }
}

}  // namespace

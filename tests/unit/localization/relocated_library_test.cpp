// A copy of the library in another tree finds the texts of that tree: the data lie relative to
// the library's own file, not to the program or the working directory.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "qel/tools/localization.h"
#include "support/namespace_sandbox.h"
#include "support/scratch.h"

namespace {

using CreateLocalizerFunction = result_t (*)(orv::IServiceLocator*, unsigned long,
                                             const orv::types::string16_t&,
                                             orv::intrusive_ptr<localization_manager::ILocalizer>&);
using LocalizeTemplateFunction = orv::types::vector_t<unsigned char> (*)(
    const orv::types::vector_t<unsigned char>&, localization_manager::ILocalizer*, orv::ITracer*);

TEST(LocalizationRelocated, ReadsTheTextsBesideItsOwnFile) {
  const char* binaryDir = std::getenv("TTI_BINARY_DIR");
  ASSERT_NE(binaryDir, nullptr);
  const tti::test::TempDir tree;
  const std::string& root = tree.path();
  std::filesystem::create_directories(root + "/bin");
  std::filesystem::create_directories(root + "/share/localization/en");
  tti::test::WriteTextFile(
      root + "/bin/liblocalization.so",
      tti::test::ReadTextFile(std::string(binaryDir) + "/bin/liblocalization.so"), 0755);
  tti::test::WriteTextFile(root + "/share/localization/en/traffic_processing.ini",
                           "Probe = from the copied tree\n");

  void* library = ::dlopen((root + "/bin/liblocalization.so").c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << ::dlerror();
  const auto create = reinterpret_cast<CreateLocalizerFunction>(::dlsym(
      library,
      "_ZN3qel5tools15CreateLocalizerEPN3orv15IServiceLocatorEmRKNS1_5types14basic_string_"
      "tIDsNS1_11char_traitsIDsEENS1_16abi_v1_allocatorEEERNS1_13intrusive_ptrIN20localization_"
      "manager10ILocalizerEEE"));
  const auto localize = reinterpret_cast<LocalizeTemplateFunction>(
      ::dlsym(library,
              "_ZN3qel5tools16LocalizeTemplateERKN3orv5types8vector_tIhNS1_16abi_v1_"
              "allocatorEEEPN20localization_manager10ILocalizerEPNS1_7ITracerE"));
  ASSERT_NE(create, nullptr);
  ASSERT_NE(localize, nullptr);
  {
    orv::intrusive_ptr<localization_manager::ILocalizer> localizer;
    ASSERT_EQ(create(nullptr, 7, u"traffic_processing", localizer), 0);
    const auto page = tti::test::BytesAs<orv::types::vector_t<unsigned char>>(
        std::string("[$Probe$][$ActionWarn$]"));
    const auto worded = localize(page, localizer.get(), nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(worded.data()), worded.size()),
              "[from the copied tree][$ActionWarn$]");
  }
  ::dlclose(library);
}

}  // namespace

// Version of the KzUtil library; the build takes the shared library's
// version and soname from here.
//   if (KzUtil::kKzUtilVersion >= 1) UseNewInterface();
#ifndef KZUTIL_KZUTILVERSION_H
#define KZUTIL_KZUTILVERSION_H

namespace KzUtil {

constexpr int kKzUtilVersion = 0;                      // major: changes the soname
constexpr int kKzUtilSubVersion = 1;                   // minor: compatible additions
constexpr int kKzUtilSubSubVersion = 0;                // patch: fixes only
constexpr const char* kKzUtilVersionString = "0.1.0";  // the three, dotted

}  // namespace KzUtil

#endif

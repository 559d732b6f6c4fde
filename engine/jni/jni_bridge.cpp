// The six native methods of com.orvex.translate.jni.JniInter over the seven
// functions of kora.h. Holds one handle, one direction and one result text, all of
// the process: one thread at a time. No exception leaves a method.
#include <jni.h>

#include <cstdint>
#include <exception>
#include <string>

#include "jni/modified_utf8.h"
#include "kora/kora.h"

namespace {

int bridge_direction = 0;
koralite::translator::TransImpl* bridge_handle = nullptr;
std::string bridge_result;

// The characters of a Java string, given back at the end of the scope. Null for a
// null string, and when the virtual machine has no memory (it then throws).
class JavaText {
 public:
  JavaText(JNIEnv* env, jstring string)
      : env_(env),
        string_(string),
        characters_(string == nullptr ? nullptr : env->GetStringUTFChars(string, nullptr)) {}
  JavaText(const JavaText&) = delete;
  JavaText& operator=(const JavaText&) = delete;
  ~JavaText() {
    if (characters_ != nullptr) {
      env_->ReleaseStringUTFChars(string_, characters_);
    }
  }

  bool is_null() const { return characters_ == nullptr; }
  std::string utf8() const { return koralite::jni::from_modified_utf8(characters_); }

 private:
  JNIEnv* env_;
  jstring string_;
  const char* characters_;
};

int direction_of(const std::string& name) {
  constexpr struct {
    const char* name;
    int code;
  } kDirections[] = {{"CE", 0},      {"EC", 1},       {"CHS_JPA", 2},
                     {"JPA_CHS", 3}, {"CHS_KOR", 22}, {"KOR_CHS", 23}};
  for (const auto& direction : kDirections) {
    if (name == direction.name) {
      return direction.code;
    }
  }
  return -1;
}

// Codes of kora_translate, for failures before and behind it.
constexpr jint kStandardFailure = 3;
constexpr jint kOtherFailure = 4;

template <class Call>
jint guarded(jint failure, jint other, Call&& call) noexcept {
  try {
    return call();
  } catch (const std::exception&) {
    return failure;
  } catch (...) {
    return other;
  }
}

}  // namespace

extern "C" {

JNIEXPORT jint JNICALL Java_com_orvex_translate_jni_JniInter_CheckLang(JNIEnv* env, jobject,
                                                                       jstring text) {
  return guarded(0, 0, [&]() -> jint {
    const JavaText characters(env, text);
    return characters.is_null() ? 0 : kora_check_lang(characters.utf8());
  });
}

JNIEXPORT jint JNICALL Java_com_orvex_translate_jni_JniInter_Initialize(JNIEnv* env, jobject,
                                                                        jstring direction,
                                                                        jstring confFile,
                                                                        jstring modelFolder) {
  return guarded(4, 5, [&]() -> jint {
    const JavaText name(env, direction);
    const int code = name.is_null() ? -1 : direction_of(name.utf8());
    if (code < 0) {
      return -1;
    }
    bridge_direction = code;
    const JavaText conf(env, confFile);
    const JavaText folder(env, modelFolder);
    const std::string conf_path = conf.is_null() ? std::string() : conf.utf8();
    const std::string folder_path = folder.is_null() ? std::string() : folder.utf8();
    return kora_initialize(code, conf.is_null() ? nullptr : conf_path.c_str(),
                           folder.is_null() ? nullptr : folder_path.c_str());
  });
}

JNIEXPORT jint JNICALL Java_com_orvex_translate_jni_JniInter_CreateDecoder(JNIEnv*, jobject) {
  if (bridge_handle != nullptr) {
    return 1;
  }
  bridge_handle = kora_create_decoder(bridge_direction);
  return bridge_handle != nullptr ? 0 : 2;
}

JNIEXPORT jint JNICALL Java_com_orvex_translate_jni_JniInter_Translate(JNIEnv* env, jobject,
                                                                       jstring text) {
  if (bridge_handle == nullptr) {
    return -1;
  }
  bridge_result.clear();
  return guarded(kStandardFailure, kOtherFailure, [&]() -> jint {
    const JavaText characters(env, text);
    if (characters.is_null()) {
      return kStandardFailure;
    }
    return kora_translate(bridge_handle, characters.utf8(), bridge_result);
  });
}

JNIEXPORT jstring JNICALL Java_com_orvex_translate_jni_JniInter_GetTransRes(JNIEnv* env, jobject) {
  try {
    return env->NewStringUTF(koralite::jni::to_modified_utf8(bridge_result).c_str());
  } catch (...) {
    return nullptr;
  }
}

JNIEXPORT void JNICALL Java_com_orvex_translate_jni_JniInter_Finalize(JNIEnv*, jobject) {
  if (bridge_handle != nullptr) {
    kora_destroy_decoder(bridge_handle);
    bridge_handle = nullptr;
  }
  kora_finalize();
}

}  // extern "C"

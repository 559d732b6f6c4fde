// The native methods of com.orvex.translate.jni.Translator over kora_c.h. Holds nothing: a handle
// is the address of a kora_c_translator, and the Java object sees to it that one thread at a time
// uses it, and none after it was closed. No C++ exception leaves a method; failures become Java's.
#include <jni.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "jni/utf16_text.h"
#include "kora/kora_c.h"

namespace {

namespace kora_jni = koralite::jni;

static_assert(sizeof(jchar) == sizeof(char16_t));
static_assert(sizeof(jint) == sizeof(std::int32_t));

struct Free {
  void operator()(void* memory) const { kora_c_free(memory); }
};
template <class T>
using owned_t = std::unique_ptr<T, Free>;

// A Java exception is on its way: back to Java at once.
struct pending_t {};

void check(JNIEnv* env) {
  if (env->ExceptionCheck() != JNI_FALSE) {
    throw pending_t{};
  }
}

[[noreturn]] void raise(JNIEnv* env, std::int32_t code, std::string_view message) {
  const jclass type = env->FindClass("com/orvex/translate/jni/TranslatorException");
  check(env);
  const jmethodID make = env->GetMethodID(type, "<init>", "(ILjava/lang/String;)V");
  check(env);
  const std::u16string text =
      kora_jni::to_utf16(message.empty() ? kora_c_error_name(code) : message);
  const jstring said =
      env->NewString(reinterpret_cast<const jchar*>(text.data()), static_cast<jsize>(text.size()));
  check(env);
  const jobject exception = env->NewObject(type, make, static_cast<jint>(code), said);
  check(env);
  env->Throw(static_cast<jthrowable>(exception));
  throw pending_t{};
}

std::string utf8_of(JNIEnv* env, jstring text, kora_jni::unit_map_t* units = nullptr) {
  const jsize length = env->GetStringLength(text);
  std::u16string units16(static_cast<std::size_t>(length), u'\0');
  env->GetStringRegion(text, 0, length, reinterpret_cast<jchar*>(units16.data()));
  check(env);
  return kora_jni::from_utf16(units16, units);
}

jstring java_text(JNIEnv* env, std::string_view text, kora_jni::unit_map_t* units = nullptr) {
  const std::u16string units16 = kora_jni::to_utf16(text, units);
  const jstring made = env->NewString(reinterpret_cast<const jchar*>(units16.data()),
                                      static_cast<jsize>(units16.size()));
  check(env);
  return made;
}

kora_c_translator* translator_of(jlong handle) {
  return reinterpret_cast<kora_c_translator*>(static_cast<std::uintptr_t>(handle));
}

jlong handle_of(JNIEnv* env, std::int32_t code, kora_c_translator* translator, char* message) {
  const owned_t<char> said(message);
  if (code != KORA_C_OK) {
    raise(env, code, said ? said.get() : "");
  }
  return static_cast<jlong>(reinterpret_cast<std::uintptr_t>(translator));
}

void demand(JNIEnv* env, std::int32_t code, jlong handle) {
  if (code != KORA_C_OK) {
    raise(env, code, kora_c_message(translator_of(handle)));
  }
}

template <class Call>
auto guarded(JNIEnv* env, Call&& call) noexcept -> decltype(call()) {
  try {
    return call();
  } catch (const pending_t&) {
  } catch (...) {
    // Only memory can run out here.
    if (env->ExceptionCheck() == JNI_FALSE) {
      const jclass type = env->FindClass("java/lang/OutOfMemoryError");
      if (type != nullptr) {
        env->ThrowNew(type, "native memory of the translator");
      }
    }
  }
  return decltype(call())();
}

// The direction -1 is refused by the call that follows, with its message.
std::int32_t direction_of(JNIEnv* env, jstring name) {
  const std::string text = utf8_of(env, name);
  return kora_c_find_direction(text.data(), text.size());
}

}  // namespace

extern "C" {

JNIEXPORT jlong JNICALL Java_com_orvex_translate_jni_Translator_nativeOpen(JNIEnv* env, jclass,
                                                                           jstring direction,
                                                                           jstring folder,
                                                                           jboolean verify) {
  return guarded(env, [&]() -> jlong {
    const std::string path = utf8_of(env, folder);
    const std::int32_t pair = direction_of(env, direction);
    kora_c_translator* translator = nullptr;
    char* message = nullptr;
    const std::int32_t code =
        kora_c_open(pair, nullptr, 0, path.data(), path.size(),
                    verify != JNI_FALSE ? KORA_C_CHECK_MANIFEST : 0, &translator, &message);
    return handle_of(env, code, translator, message);
  });
}

JNIEXPORT jlong JNICALL Java_com_orvex_translate_jni_Translator_nativeOpenMemory(
    JNIEnv* env, jclass, jstring direction, jobjectArray names, jobjectArray buffers,
    jboolean verify) {
  return guarded(env, [&]() -> jlong {
    const std::int32_t pair = direction_of(env, direction);
    const jsize count = env->GetArrayLength(names);
    std::vector<std::string> texts(static_cast<std::size_t>(count));
    std::vector<kora_c_file> files(texts.size());
    for (jsize i = 0; i < count; ++i) {
      const auto at = static_cast<std::size_t>(i);
      const auto name = static_cast<jstring>(env->GetObjectArrayElement(names, i));
      check(env);
      const jobject buffer = env->GetObjectArrayElement(buffers, i);
      check(env);
      texts[at] = utf8_of(env, name);
      const void* const data = env->GetDirectBufferAddress(buffer);
      files[at] = {
          texts[at].data(), texts[at].size(), data,
          data == nullptr ? 0 : static_cast<std::size_t>(env->GetDirectBufferCapacity(buffer))};
      env->DeleteLocalRef(name);
      env->DeleteLocalRef(buffer);
    }
    kora_c_translator* translator = nullptr;
    char* message = nullptr;
    const std::int32_t code =
        kora_c_open_memory(pair, files.data(), files.size(),
                           verify != JNI_FALSE ? KORA_C_CHECK_MANIFEST : 0, &translator, &message);
    return handle_of(env, code, translator, message);
  });
}

JNIEXPORT void JNICALL Java_com_orvex_translate_jni_Translator_nativeClose(JNIEnv*, jclass,
                                                                           jlong handle) {
  kora_c_close(translator_of(handle));
}

JNIEXPORT jstring JNICALL Java_com_orvex_translate_jni_Translator_nativeTranslate(JNIEnv* env,
                                                                                  jclass,
                                                                                  jlong handle,
                                                                                  jstring text) {
  return guarded(env, [&]() -> jstring {
    const std::string source = utf8_of(env, text);
    char* output = nullptr;
    std::size_t length = 0;
    const std::int32_t code =
        kora_c_translate(translator_of(handle), source.data(), source.size(), &output, &length);
    const owned_t<char> result(output);
    demand(env, code, handle);
    return java_text(env, {output, length});
  });
}

JNIEXPORT jintArray JNICALL Java_com_orvex_translate_jni_Translator_nativeAlign(
    JNIEnv* env, jclass, jlong handle, jstring text, jobjectArray translation) {
  return guarded(env, [&]() -> jintArray {
    kora_jni::unit_map_t source_units;
    kora_jni::unit_map_t target_units;
    const std::string source = utf8_of(env, text, &source_units);
    char* output = nullptr;
    std::size_t length = 0;
    std::int32_t* links = nullptr;
    std::size_t count = 0;
    const std::int32_t code = kora_c_translate_aligned(
        translator_of(handle), source.data(), source.size(), &output, &length, &links, &count);
    const owned_t<char> result(output);
    const owned_t<std::int32_t> bytes(links);
    demand(env, code, handle);
    const jstring made = java_text(env, {output, length}, &target_units);
    env->SetObjectArrayElement(translation, 0, made);
    check(env);
    const std::vector<std::int32_t> numbers =
        kora_jni::links_in_units(links, count, source_units, target_units);
    const jintArray array = env->NewIntArray(static_cast<jsize>(numbers.size()));
    check(env);
    env->SetIntArrayRegion(array, 0, static_cast<jsize>(numbers.size()),
                           reinterpret_cast<const jint*>(numbers.data()));
    check(env);
    return array;
  });
}

JNIEXPORT jobjectArray JNICALL Java_com_orvex_translate_jni_Translator_nativeNBest(
    JNIEnv* env, jclass, jlong handle, jstring sentence, jint wanted) {
  return guarded(env, [&]() -> jobjectArray {
    const std::string source = utf8_of(env, sentence);
    char* outputs = nullptr;
    std::size_t* ends = nullptr;
    float* scores = nullptr;
    std::size_t count = 0;
    const std::int32_t code = kora_c_translate_nbest(
        translator_of(handle), source.data(), source.size(), static_cast<std::uint32_t>(wanted),
        &outputs, &ends, &scores, &count);
    const owned_t<char> texts(outputs);
    const owned_t<std::size_t> places(ends);
    const owned_t<float> numbers(scores);
    demand(env, code, handle);
    const jclass type = env->FindClass("java/lang/String");
    check(env);
    const jobjectArray array = env->NewObjectArray(static_cast<jsize>(count), type, nullptr);
    check(env);
    std::size_t start = 0;
    for (std::size_t i = 0; i < count; ++i) {
      const jstring text = java_text(env, {outputs + start, ends[i] - start});
      env->SetObjectArrayElement(array, static_cast<jsize>(i), text);
      check(env);
      env->DeleteLocalRef(text);
      start = ends[i] + 1;
    }
    return array;
  });
}

JNIEXPORT jstring JNICALL Java_com_orvex_translate_jni_Translator_nativeVersion(JNIEnv* env,
                                                                                jclass) {
  return guarded(env, [&] { return java_text(env, kora_c_version()); });
}

}  // extern "C"

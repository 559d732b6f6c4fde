package com.orvex.translate.jni;

/**
 * Kora for Java: one direction, one decoder and one result text for the whole process. Order:
 * Initialize, CreateDecoder, any number of Translate and GetTransRes, Finalize; then another
 * direction may be initialised. Not safe across threads: call from one thread, or synchronise.
 *
 * <p>Loads the library "translator_jni" from java.library.path, or from the file that the system
 * property "kora.library" names.
 */
public class JniInter {
  static {
    NativeLibrary.load();
  }

  /** 1 if the text is ASCII alone, so that it can only be of a Latin script; else 0. */
  public native int CheckLang(String text);

  /**
   * Chooses the direction and the model: "CE", "EC", "CHS_JPA", "JPA_CHS", "CHS_KOR" or "KOR_CHS".
   * 0: done; -1: no such direction; 2: no configuration given; 3: already initialised; 4: the
   * configuration cannot be read; 5: another failure; 6: wrong version.
   */
  public native int Initialize(String direction, String confFile, String modelFolder);

  /** Destroys the decoder, if there is one, and forgets the direction. */
  public native void Finalize();

  /** Loads the models. 0: done; 1: there is a decoder already; 2: failed. */
  public native int CreateDecoder();

  /** Translates a text. 0: done; -1: no decoder; 2, 3, 4: failed, what was finished is kept. */
  public native int Translate(String text);

  /** The result of the last Translate; empty before the first. */
  public native String GetTransRes();
}

package android.content.res;

import java.io.Closeable;
import java.io.FileInputStream;
import java.io.IOException;

/** Stands in for Android's class of this name: a part of a file. */
public final class AssetFileDescriptor implements Closeable {
  private final String file;
  private final long start;
  private final long length;

  AssetFileDescriptor(String file, long start, long length) {
    this.file = file;
    this.start = start;
    this.length = length;
  }

  public FileInputStream createInputStream() throws IOException {
    return new FileInputStream(file);
  }

  public long getStartOffset() {
    return start;
  }

  public long getLength() {
    return length;
  }

  @Override
  public void close() {}
}

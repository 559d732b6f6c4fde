// @kora/engine: offline translation in browsers and in Node.
//
// A Translator holds one model in a worker of its own; any number of them may be open. All texts
// are strings, all offsets count UTF-16 units as JavaScript does, and every end is exclusive.
// Failures are rejections with a KoraError; a cancelled call is rejected with its signal's reason.

/** A part of a string: text.slice(start, end). */
export interface Range {
  start: number;
  end: number;
}

/** Parts of source and target that belong together. */
export interface Link {
  source: Range;
  target: Range;
}

export interface ScoredText {
  text: string;
  /** Higher is better; comparable within one sentence only. */
  score: number;
}

export interface Translation {
  text: string;
  /** With `nbest`: the text taken as one sentence, best first. */
  alternatives?: ScoredText[];
}

export interface AlignedTranslation {
  text: string;
  /** In order of the target. */
  links: Link[];
  /** How many characters of the text were translated now; the others with `reuse`, earlier. */
  translated: number;
}

export interface Explanation {
  sentences: {
    source: Range;
    /** Of the whole sentence, best first. */
    translations: ScoredText[];
    /** In order of the target. Marks at the end of the sentence belong to none. */
    phrases: { source: Range; alternatives: ScoredText[] }[];
  }[];
}

/** Pairs of source and target, or lines "source TAB target". An empty target keeps the source. */
export type Glossary = string | [source: string, target: string][];

export interface CallOptions {
  /** Cancels the call: at once if it waits, at the next paragraph if it runs; a paragraph that
   *  takes longer than half a second is ended with its worker, which is started again. */
  signal?: AbortSignal;
}

export interface TranslateOptions extends CallOptions {
  /** 'text' keeps lines; 'html' keeps markup and takes whole pages or fragments. */
  format?: 'text' | 'html';
  glossary?: Glossary;
  /** How many translations of the whole text, taken as one sentence. */
  nbest?: number;
  /** Hears of each finished part of a long text, in characters. */
  progress?(step: { done: number; total: number }): void;
}

export interface AlignOptions extends TranslateOptions {
  /** Take sentences of plain text that were translated before from the worker's memory: for text
   *  that changes while somebody types. Each sentence is translated by itself. */
  reuse?: boolean;
}

export interface ModelFile {
  name: string;
  size: number;
  sha256: string;
}

/** A model of a registry. */
export interface Model {
  direction: string;
  /** The address of the folder. */
  url: string;
  /** Bytes of all files. */
  size: number;
  files: ModelFile[];
}

export type StoreKind = 'auto' | 'cache' | 'opfs' | 'none';

export interface OpenOptions extends CallOptions {
  /** For a model whose engine.conf does not say it, such as 'en-zh'. */
  direction?: string;
  /** Where downloads are kept: the Cache API, the origin's private files, or nowhere. 'auto' takes
   *  the first that the platform has. */
  store?: StoreKind;
  /** Compare the files with the folder's manifest.conf. Without this option that is done wherever
   *  they were not compared with a registry's digests, if there is a manifest. */
  check?: boolean;
  progress?(step: { loaded: number; total: number }): void;
  /** The model works, but could not be kept: 'storage-full' or 'storage-failed'. */
  warning?(warning: { code: string; message: string }): void;
}

/** Files by name, as bytes or blobs. */
export type ModelBuffers =
  | Record<string, Uint8Array | ArrayBuffer | Blob>
  | Map<string, Uint8Array | ArrayBuffer | Blob>
  | File[];

export class Translator {
  private constructor();

  /**
   * Loads a model.
   * @param where a folder (Node), the address of a folder that has a manifest.conf, a model of a
   *     registry, or the files themselves
   */
  static open(where: string | URL | Model | ModelBuffers, options?: OpenOptions): Promise<Translator>;

  readonly direction: string;
  /** Of the engine. */
  readonly version: string;
  /** Milliseconds from the files in memory to a model that can translate. */
  readonly openingTime: number;
  /** Bytes of the module's memory after the last call. */
  readonly memory: number;
  readonly closed: boolean;

  translate(text: string, options?: TranslateOptions): Promise<Translation>;
  translate(texts: string[], options?: TranslateOptions): Promise<Translation[]>;

  align(text: string, options?: AlignOptions): Promise<AlignedTranslation>;
  align(texts: string[], options?: AlignOptions): Promise<AlignedTranslation[]>;

  /** How a text is translated and what else it could have been; `nbest` of each (5). */
  explain(text: string, options?: CallOptions & { nbest?: number }): Promise<Explanation>;
  explain(texts: string[], options?: CallOptions & { nbest?: number }): Promise<Explanation[]>;

  /** A text for each entry of a glossary that can never match. */
  checkGlossary(glossary: Glossary, options?: CallOptions): Promise<string[]>;

  /** Ends the worker; calls that wait are rejected with 'closed'. */
  close(): void;
}

export class Registry {
  constructor(models: Model[]);
  static open(url: string | URL, options?: CallOptions): Promise<Registry>;
  readonly models: Model[];
  find(direction: string): Model | null;
  /** Whether all files of a model are kept here. */
  isStored(model: Model, options?: { store?: StoreKind }): Promise<boolean>;
  remove(model: Model, options?: { store?: StoreKind }): Promise<void>;
}

export type ErrorCode =
  | 'bad-argument' // a wrong kind of argument
  | 'bad-direction' // no such direction, or none that can be translated
  | 'bad-configuration' // engine.conf or decoder.conf is unreadable or asks for too much
  | 'bad-model' // a file is missing, damaged or of another size
  | 'bad-manifest' // the folder differs from its manifest
  | 'bad-registry' // the registry is no JSON of the format
  | 'digest-mismatch' // a download is not what the registry announced
  | 'download-failed' // the network, or the server's answer
  | 'translation-failed' // damage that was first met while translating
  | 'no-memory'
  | 'unsupported' // no WebAssembly with exceptions and SIMD, or no workers
  | 'worker-died' // the next call starts another worker
  | 'crashed' // the same, after a fault of the module
  | 'closed'
  | 'aborted'
  | 'failed';

export class KoraError extends Error {
  constructor(code: ErrorCode, message: string);
  readonly code: ErrorCode;
}

// Workers of browsers and of Node behind one face: {post, end, onmessage, onend}.
import { KoraError } from './errors.js';

const entry = new URL('./worker.js', import.meta.url);

async function create() {
  if (typeof Worker === 'function' && typeof location !== 'undefined') {
    const worker = new Worker(entry, { type: 'module', name: 'kora' });
    return {
      worker,
      listen: (message, failed) => {
        worker.onmessage = (event) => message(event.data);
        worker.onmessageerror = () => failed('a message could not be read');
        worker.onerror = (event) => {
          event.preventDefault?.();
          failed(event.message || 'the worker could not be loaded');
        };
      },
    };
  }
  let threads;
  try {
    threads = await import('node:worker_threads');
  } catch {
    throw new KoraError('unsupported', 'this browser has no workers');
  }
  const worker = new threads.Worker(entry);
  worker.unref(); // an open translator does not keep the program alive; a pending call does
  return {
    worker,
    listen: (message, failed) => {
      worker.on('message', message);
      worker.on('error', (error) => failed(error.message));
      worker.on('exit', (code) => failed(`the worker ended with code ${code}`));
    },
  };
}

/** Starts a worker and waits until it listens. */
export async function spawn() {
  const { worker, listen } = await create();
  const face = {
    onmessage: () => {},
    onend: () => {},
    post: (message) => {
      worker.ref?.();
      worker.postMessage(message);
    },
    idle: () => worker.unref?.(),
    end: () => {
      face.onend = () => {};
      worker.terminate();
    },
  };
  await new Promise((resolve, reject) => {
    let ready = false;
    worker.ref?.();
    listen(
      (message) => {
        if (message.ready) {
          ready = true;
          resolve();
        } else {
          face.onmessage(message);
        }
      },
      (reason) => {
        if (ready) {
          face.onend(reason);
        } else {
          worker.terminate();
          reject(new KoraError('worker-died', `the worker did not start: ${reason}`));
        }
      });
  });
  return face;
}

// A headless Chromium with a profile of its own, ended and removed with it.
import { mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { chromium } from 'playwright-core';

export async function launch({ flags = [], ...options } = {}) {
  const profile = await mkdtemp(join(tmpdir(), 'kora-browser-'));
  const context = await chromium.launchPersistentContext(profile, {
    executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
    headless: true,
    args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
      '--disable-background-networking', '--disable-component-update', '--disable-sync', ...flags],
    permissions: ['clipboard-read', 'clipboard-write'],
    ...options,
  });
  return {
    context,
    close: async () => {
      await context.close();
      await rm(profile, { recursive: true, force: true, maxRetries: 3 });
    },
  };
}

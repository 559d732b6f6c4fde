// Before anything is drawn: the colours that were chosen here last time.
try {
  const chosen = localStorage.getItem('kora-theme');
  if (chosen === 'dark' || chosen === 'light') document.documentElement.dataset.theme = chosen;
} catch {
  // Storage may be forbidden; the system's colours do.
}

// The scanner itself: what state it is in.
import { $ } from './dom.js';

export const FEEDER_WORDS = {
  ScannerAdfLoaded: 'loaded', ScannerAdfEmpty: 'empty', ScannerAdfJam: 'paper jam',
  ScannerAdfMispick: 'sheet not picked', ScannerAdfHatchOpen: 'hatch open',
  ScannerAdfMultipickDetected: 'two sheets at once', ScannerAdfProcessing: 'feeding',
  ScannerAdfDuplexPageTooLong: 'sheet too long', ScannerAdfDuplexPageTooShort: 'sheet too short',
  ScannerAdfOutputTrayClosed: 'output tray closed', ScannerAdfInputTrayFailed: 'input tray failed',
};
const FEEDER_GOOD = ['ScannerAdfLoaded', 'ScannerAdfEmpty', 'ScannerAdfProcessing'];

export function render({ scanner }) {
  const feeder = scanner.feeder_state;
  const broken = feeder && !FEEDER_GOOD.includes(feeder);
  const word = broken ? FEEDER_WORDS[feeder] || feeder : scanner.state;
  $('scanner-state').dataset.tone = broken ? 'bad' : scanner.state === 'Processing' ? 'busy' : 'good';
  $('scanner-word').textContent = word;
  $('identity').textContent = [scanner.serial && `Serial ${scanner.serial}`, scanner.firmware && `Firmware ${scanner.firmware}`]
    .filter(Boolean).join(' · ');
}

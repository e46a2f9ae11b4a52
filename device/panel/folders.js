// Network folders that scans can be sent to.
import { entries } from './entries.js';
import { onSettings } from './settings.js';

const render = entries({
  list: 'folders',
  what: 'folder',
  none: 'No folders yet.',
  title: (folder) => folder.name || 'Folder without a name',
  details: (folder) => [folder.path, folder.user && `as ${folder.user}`,
    folder.has_password && 'with password', folder.has_pin && 'with PIN'].filter(Boolean).join(' · '),
  was: (folder) => folder.name,
  fields: (folder) => [
    { name: 'name', label: 'Name', value: folder.name, width: 128, required: true },
    { name: 'path', label: 'Network path', value: folder.path, width: 256, required: true },
    { name: 'user', label: 'User', value: folder.user, width: 128 },
    { name: 'password', label: 'Password', type: 'password', width: 128, kept: folder.has_password },
    { name: 'pin', label: 'PIN', type: 'password', width: 16, kept: folder.has_pin },
  ],
});
onSettings(({ folders }) => render(folders));

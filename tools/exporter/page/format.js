// SPDX-License-Identifier: Apache-2.0
// Values, times and numbers as text.
import {isNumber} from './schema.js';

const groups = new Intl.NumberFormat('en', {useGrouping: true});
const isAmount = (column) => column.measure === 'counter' || column.measure === 'gauge';

// The names of an enumeration without what all of them begin with.
export function shortName(enumeration, name) {
  const names = enumeration.enumerators.map((each) => each.name);
  if (names.length < 2) return name;
  let front = names[0];
  for (const each of names) while (!each.startsWith(front)) front = front.slice(0, -1);
  front = front.slice(0, front.lastIndexOf('_') + 1);
  return name.startsWith(front) ? name.slice(front.length) : name;
}

export function valueText(column, value) {
  if (value === undefined || value === null) return '–';
  if (Array.isArray(value)) return value.join(' ');
  if (typeof value === 'object') return `0x${value.hex}`;
  if (column.enumeration && typeof value === 'string') return shortName(column.enumeration, value);
  if (typeof value === 'number' && isAmount(column)) return groups.format(value);
  return String(value);
}

export const numberText = (number) => groups.format(number);
export const isEmpty = (column, value) =>
  value === undefined || value === null || value === '' || value === false ||
  (value === 0 && isNumber(column));

const two = (number) => String(number).padStart(2, '0');

export function timeText(time) {
  const date = new Date(time);
  const day = `${date.getFullYear()}-${two(date.getMonth() + 1)}-${two(date.getDate())}`;
  return `${day} ${clockOf(date)}.${String(date.getMilliseconds()).padStart(3, '0')}`;
}

export const clockOf = (date) => `${two(date.getHours())}:${two(date.getMinutes())}:${two(date.getSeconds())}`;

// The minute of a day as "08:05".
export const minuteText = (minute) => `${two(Math.floor(minute / 60) % 24)}:${two(Math.floor(minute) % 60)}`;

// "tarn-ldap[4711] root: slapd.log:17", or nothing.
export function authorText(transaction) {
  if (transaction.pid === undefined) return '';
  const program = (transaction.command ?? '').split(' ')[0].split('/').pop();
  const label = transaction.label ? `: ${transaction.label}` : '';
  return `${program}[${transaction.pid}] ${transaction.user ?? ''}${label}`;
}

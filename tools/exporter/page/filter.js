// SPDX-License-Identifier: Apache-2.0
// What is typed into the filter of a table. A condition, such as `num_conns>0 AND sname~ldap`, goes
// to the exporter as it is; other text is searched in the key and in all fields that are words.
import {isText} from './schema.js';

export function conditionOf(text, table) {
  const wanted = text.trim();
  if (wanted === '' || /[=<>~]/.test(wanted)) return wanted;
  const pattern = wanted.replace(/[.*+?^${}()|[\]\\/-]/g, '\\$&').replaceAll("'", "''");
  const columns = table.columns.filter((each) => each.isKey || isText(each));
  return columns.map((each) => `${each.path}~'${pattern}'`).join(' OR ');
}

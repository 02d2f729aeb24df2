;;; The application layer over the project database: the Project Explorer's queries and the
;;; repair of a damaged project file, through the host's kvdb- functions.

;; The project database file of the current drawing's folder (the one file whose name holds
;; "kv_hvac"), or nil when there is none, or several.
(defun projectdb-currentFile ()
  (if getvar (kvdb-find (getvar "DWGPREFIX") "kv_hvac")))

;; Runs SQL on the current project and answers the count n, then the n distinct values of COLUMN,
;; ordered by SORTCOLUMN. Without a project file: no answer, the explorer shows no rows.
(defun hvac-projectExplorer_sqlQuery (sql column sortColumn / file values)
  (if (setq file (projectdb-currentFile))
    (progn
      (setq values (kvdb-query file (projectdb-narrowSelect sql column sortColumn) column sortColumn T))
      (cons (length values) values))))

;; "Select * from ..." asks for every column of every row, when only COLUMN and SORTCOLUMN are
;; read: a large project's tables are wide, so the query names the two.
(defun projectdb-narrowSelect (sql column sortColumn)
  (if (= (strcase (substr sql 1 14)) "SELECT * FROM ")
    (strcat "Select distinct " column ", " sortColumn " " (substr sql 10))
    sql))

;; Repairs and compacts the damaged database file PATH by rebuilding it from what can be read;
;; the damaged file stays beside it as PATH.damaged. T when repaired, nil when not.
(defun compactDatabase (path unused mode / saved)
  (if (setq saved (kvdb-repair path))
    (progn
      (princ (strcat "\nDatabase repaired: " (itoa saved) " rows saved. The damaged file is kept as "
                     path ".damaged"))
      T)))

;; Makes FOLDER a project: creates its database file "<folder name>_kv_hvac.kv" unless the folder
;; has one already; with a server named for new projects (KV_PROJECTDB_SERVER) the project is made
;; there, behind the link file "<folder name>_kv_hvac.kvlink". Answers the path of the folder's
;; database file.
(defun projectdb-createProject (folder / existing name)
  (setq folder (vl-string-right-trim " /\\" folder))
  (cond
    ((setq existing (kvdb-find folder "kv_hvac")) existing)
    (T
     (setq name (strcat folder "/" (projectdb-baseName folder)
                        (if (getenv "KV_PROJECTDB_SERVER") "_kv_hvac.kvlink" "_kv_hvac.kv")))
     (kvdb-create name)
     name)))

;; The last part of a path: "/a/b/office" gives "office".
(defun projectdb-baseName (path / i)
  (setq i (strlen path))
  (while (and (> i 0) (not (member (substr path i 1) '("/" "\\"))))
    (setq i (1- i)))
  (substr path (1+ i)))
